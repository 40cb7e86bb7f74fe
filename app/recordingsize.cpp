#include "app/recordingsize.h"

#include <QFileInfo>

#include <algorithm>
#include <limits>

namespace quorvale {

std::optional<int> recordingSizeKB(const QString &mainFile)
{
    QFileInfo file(mainFile);
    if (!file.exists())
        return std::nullopt;

    qint64 total = file.size() / 1024;
    for (int piece = 1;; ++piece) {
        file.setFile(mainFile + QString::number(piece));
        if (!file.exists())
            break;
        total += file.size() / 1024;
    }
    return static_cast<int>(std::min<qint64>(total, std::numeric_limits<int>::max()));
}

} // namespace quorvale
