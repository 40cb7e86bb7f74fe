#pragma once

#include <QChar>
#include <QString>

namespace quorvale {

/// `path` as part of a sentence: it reads from left to right, also in a sentence that reads from right to left.
inline QString pathInText(const QString &path)
{
    constexpr char16_t kLeftToRightIsolate = 0x2066;
    constexpr char16_t kPopDirectionalIsolate = 0x2069;
    return QChar(kLeftToRightIsolate) + path + QChar(kPopDirectionalIsolate);
}

} // namespace quorvale
