#include "app/recordingsize.h"

#include <algorithm>
#include <limits>

namespace quorvale {

QFileInfoList recordingPieces(const QString &mainFile)
{
    QFileInfoList pieces;
    for (QFileInfo file(mainFile); file.exists(); file.setFile(mainFile + QString::number(pieces.size())))
        pieces.append(file);
    return pieces;
}

std::optional<int> recordingSizeKB(const QString &mainFile)
{
    const QFileInfoList pieces = recordingPieces(mainFile);
    if (pieces.isEmpty())
        return std::nullopt;
    qint64 total = 0;
    for (const QFileInfo &piece : pieces)
        total += piece.size() / 1024;
    return static_cast<int>(std::min<qint64>(total, std::numeric_limits<int>::max()));
}

} // namespace quorvale
