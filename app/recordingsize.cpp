#include "app/recordingsize.h"

#include <QFileInfo>

#include <algorithm>
#include <limits>

namespace quorvale {

std::optional<int> recordingSizeKB(const QString &mainFile)
{
    qint64 total = 0;
    int pieces = 0;
    for (QFileInfo file(mainFile); file.exists(); file.setFile(mainFile + QString::number(pieces))) {
        total += file.size() / 1024;
        ++pieces;
    }
    if (pieces == 0)
        return std::nullopt;
    return static_cast<int>(std::min<qint64>(total, std::numeric_limits<int>::max()));
}

} // namespace quorvale
