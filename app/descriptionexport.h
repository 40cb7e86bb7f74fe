#pragma once

#include "app/dateorder.h"

#include <QString>

#include <optional>

struct Programme;

namespace quorvale {

/// What the export writes about `programme`, with line feeds as line ends: title, description as stored, date, time
/// and channel. Each byte of the recorder's texts is one Latin-1 character. Without an order there is no date line.
QString descriptionText(const Programme &programme, std::optional<DateOrder> order);

/// Writes `text` to `fileName`, replacing a file that is there, in the locale's encoding and with the system's line
/// ends. Does nothing if the file cannot be opened, or is a pipe, whose reader might never come.
void writeDescription(const QString &fileName, const QString &text);

} // namespace quorvale
