#pragma once

#include <QTextDocument>

namespace quorvale {

/// The document in which the details panel shows a description. A description comes from a broadcast: no file is read
/// for the pictures and style sheets that it names, because a file could be anything and reading could never end. A
/// picture in the text itself is not decoded either: a few bytes can claim any size.
class DescriptionDocument : public QTextDocument
{
    Q_OBJECT

public:
    using QTextDocument::QTextDocument;

protected:
    QVariant loadResource(int type, const QUrl &name) override;
};

} // namespace quorvale
