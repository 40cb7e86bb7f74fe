#pragma once

#include <QTextDocument>

namespace quorvale {

/// What the details panel shows a description in. A description comes from a broadcast by way of the recorder's disk;
/// whatever pictures or style sheets it names, no file is read for them: one could be anything, and reading could take
/// for ever. Nor is a picture decoded that stands in the text itself: a few bytes can claim any size.
class DescriptionDocument : public QTextDocument
{
    Q_OBJECT

public:
    using QTextDocument::QTextDocument;

protected:
    QVariant loadResource(int type, const QUrl &name) override;
};

} // namespace quorvale
