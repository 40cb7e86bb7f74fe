#pragma once

#include <string>

class QString;

// Paths on a recorder's disk. They are joined as they are: no separator is added or removed, nothing is normalised. So
// one recording has one path, as text, everywhere in the program.

/// The recorder's index: `devicePath` + "/DVR/RECSINFO/RECS.INF".
std::string indexPath(const std::string &devicePath);

/// The main file of a recording: `devicePath` + "/DVR/RECS/" + `fileName` + ".ts".
std::string recordingPath(const std::string &devicePath, const std::string &fileName);

/// Whether `directory` holds a recorder's archive, that is, whether its index exists.
bool holdsArchive(const QString &directory);
