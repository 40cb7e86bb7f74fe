#include "archive/archivepaths.h"

#include <QFileInfo>
#include <QString>

namespace {
constexpr char kIndex[] = "/DVR/RECSINFO/RECS.INF";
constexpr char kRecordings[] = "/DVR/RECS/";
constexpr char kRecordingSuffix[] = ".ts";
} // namespace

std::string indexPath(const std::string &devicePath)
{
    return devicePath + kIndex;
}

std::string recordingPath(const std::string &devicePath, const std::string &fileName)
{
    return devicePath + kRecordings + fileName + kRecordingSuffix;
}

bool holdsArchive(const QString &directory)
{
    return QFileInfo::exists(directory + QLatin1String(kIndex));
}
