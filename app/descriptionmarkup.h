#pragma once

class QString;
class QTextCursor;

namespace quorvale {

/// Inserts `markup`, a description from a broadcast, at `cursor`.
///
/// It is rendered as QTextCursor::insertHtml does. A few hundred bytes of markup can ask for a layout that takes for
/// ever, so it is parsed apart from what is shown first, and judged: lengths and sizes beyond what a page can show are
/// dropped; where tables are too many, too large or nested too deeply, the text is inserted without its markup. The
/// words are always those that Qt would show.
void insertDescription(QTextCursor cursor, const QString &markup);

} // namespace quorvale
