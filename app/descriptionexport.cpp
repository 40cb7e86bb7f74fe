#include "app/descriptionexport.h"

#include "app/qtversion.h"
#include "archive/programme.h"

#include <QFile>
#include <QTextStream>

#include <filesystem>
#include <system_error>

namespace quorvale {

namespace {

QString zeroPadded(int number)
{
    return QStringLiteral("%1").arg(number, 2, 10, QLatin1Char('0'));
}

QString latin1(const std::string &bytes)
{
    return QString::fromLatin1(bytes.c_str());
}

QString dateLine(const Programme &programme, std::optional<DateOrder> order)
{
    if (!order)
        return {};
    return QLatin1String("Date       : ") +
           numericDate(*order, zeroPadded(programme.day), zeroPadded(programme.month), zeroPadded(programme.year)) +
           QLatin1Char('\n');
}

} // namespace

QString descriptionText(const Programme &programme, std::optional<DateOrder> order)
{
    return QLatin1String("Show       : ") + latin1(programme.title) + QLatin1String("\nDescription:\n\n") +
           latin1(programme.description) + QLatin1String("\n\n") + dateLine(programme, order) +
           QLatin1String("Time stamp : ") + zeroPadded(programme.hour) + QLatin1Char(':') +
           zeroPadded(programme.minute) + QLatin1Char(':') + zeroPadded(programme.second) +
           QLatin1String("\nChannel    : ") + latin1(programme.channel) + QLatin1Char('\n');
}

void writeDescription(const QString &fileName, const QString &text)
{
    // To open a pipe waits for whoever reads it.
    std::error_code error;
    if (std::filesystem::is_fifo(QFile::encodeName(fileName).toStdString(), error))
        return;
    QFile file(fileName);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Text))
        return;
    QTextStream stream(&file);
    useLocaleEncoding(stream);
    stream << text;
}

} // namespace quorvale
