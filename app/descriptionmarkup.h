#pragma once

class QString;
class QTextCursor;

namespace quorvale {

/// Inserts `markup`, a description from a broadcast, at `cursor`.
///
/// It is rendered as by QTextCursor::insertHtml. But the layout of a few hundred bytes of markup can take for ever, so
/// the markup is first parsed into a document of its own and judged: lengths and sizes that no page can show are
/// dropped; if there are too many tables or fonts, or too large or too deeply nested tables, the text is inserted
/// without its markup. The words are always those that Qt would show.
void insertDescription(QTextCursor cursor, const QString &markup);

} // namespace quorvale
