#include "app/descriptionmarkup.h"

#include <QRegularExpression>

#include <algorithm>

namespace quorvale {

namespace {

QRegularExpression pattern(const char *text)
{
    return QRegularExpression(QLatin1String(text), QRegularExpression::CaseInsensitiveOption |
                                                       QRegularExpression::UseUnicodePropertiesOption);
}

// Letters and digits that are written as their codes mean the same in the toolkit's eyes, in names and in numbers, too.
// What comes out can be a code once more.
QString withoutCodes(QString text)
{
    static const QRegularExpression codes = pattern("&#(x0*[0-9a-f]{2}|0*[0-9]{2,3});");
    for (int from = 0;;) {
        const QRegularExpressionMatch code = codes.match(text, from);
        if (!code.hasMatch())
            return text;
        const QString digits = code.captured(1);
        const bool hexadecimal = digits.startsWith(QLatin1Char('x'), Qt::CaseInsensitive);
        const uint value = hexadecimal ? digits.mid(1).toUInt(nullptr, 16) : digits.toUInt();
        const QChar letter(value);
        from = int(code.capturedStart()) + 1;
        if (value < 128 && letter.isLetterOrNumber()) {
            text.replace(code.capturedStart(), code.capturedLength(), letter);
            from = std::max(0, int(code.capturedStart()) - 9); // no code is longer
        }
    }
}

// Where the tag that begins at `start` ends, whether a `>` between quotes ends it or not.
int tagEnd(const QString &text, int start)
{
    QChar quote;
    for (int i = start + 1; i < text.size(); ++i) {
        const QChar c = text.at(i);
        if (!quote.isNull()) {
            if (c == quote)
                quote = QChar();
        } else if (c == QLatin1Char('>')) {
            return i;
        } else if (c == QLatin1Char('"') || c == QLatin1Char('\'')) {
            // Within a word it is an apostrophe.
            if (!text.at(i - 1).isLetterOrNumber())
                quote = c;
        }
    }
    return int(text.size());
}

QString boundedTag(QString tag)
{
    static const QRegularExpression spans = pattern("((?:col|row)span[\"']?\\s*=\\s*[\"']?\\s*\\+?)[0-9]{2,}");
    // Colours are taken whole, and left alone.
    static const QRegularExpression numbers = pattern("(#[0-9a-z]+)|[0-9]{4,}|[0-9]+e\\+?[0-9]+");
    tag.replace(spans, QStringLiteral("\\19")); // the first group, and a 9
    QString bounded;
    int copied = 0;
    for (auto found = numbers.globalMatch(tag); found.hasNext();) {
        const QRegularExpressionMatch number = found.next();
        bounded += tag.mid(copied, int(number.capturedStart()) - copied);
        bounded += number.captured(1).isEmpty() ? QStringLiteral("999") : number.captured(1);
        copied = int(number.capturedEnd());
    }
    return bounded + tag.mid(copied);
}

} // namespace

QString boundedMarkup(const QString &markup)
{
    if (!markup.contains(QLatin1Char('<')))
        return markup;
    const QString text = withoutCodes(markup);
    QString bounded;
    for (int i = 0; i < text.size();) {
        const auto start = int(text.indexOf(QLatin1Char('<'), i));
        if (start < 0)
            return bounded + text.mid(i);
        const bool isTag = start + 1 < text.size() && !text.at(start + 1).isSpace();
        const int end = isTag ? tagEnd(text, start) : start + 1;
        bounded += text.mid(i, start - i);
        bounded += isTag ? boundedTag(text.mid(start, end - start)) : text.mid(start, end - start);
        i = end;
    }
    return bounded;
}

} // namespace quorvale
