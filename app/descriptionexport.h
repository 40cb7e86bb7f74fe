#pragma once

#include <QString>

struct Programme;

/// What the export writes about `programme`, with line feeds as line ends: title, description as stored, date, time
/// and channel. Each byte of the recorder's texts is one Latin-1 character. The date's order is `dateFormat`: 0 day
/// first, 1 month first, 2 year first; with any other there is no date line.
QString descriptionText(const Programme &programme, int dateFormat);

/// Writes `text` to `fileName`, replacing a file that is there, in the locale's encoding and with the system's line
/// ends. A file that cannot be opened is passed over in silence.
void writeDescription(const QString &fileName, const QString &text);
