#pragma once

#include <QString>

#include <string>

namespace quorvale {

/// The recorder's bytes as text: UTF-8 up to the first NUL; what is not UTF-8 becomes replacement characters.
inline QString displayText(const std::string &bytes)
{
    return QString::fromUtf8(bytes.c_str());
}

} // namespace quorvale
