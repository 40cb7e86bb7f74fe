#include "app/tablespans.h"

#include <QTextDocumentFragment>

#include <algorithm>
#include <vector>

namespace quorvale {

namespace {

// The text from `begin` to `end`, without the quotes around it.
struct Word
{
    int begin = 0;
    int end = 0;
};

/// The tags of a text, as Qt's parser finds them. It differs from HTML: white space may follow the `<`, and quotes
/// count only at the beginning of a word.
class TagReader
{
public:
    explicit TagReader(const QString &text)
        : m_text(text)
        , m_end(int(text.size()))
    {
        // If a text has these two marks (of a clipboard), Qt takes only the part between them.
        const auto fragment = int(text.indexOf(QLatin1String("<!--StartFragment-->")));
        const auto fragmentEnd = int(text.indexOf(QLatin1String("<!--EndFragment-->")));
        if (fragment >= 0) {
            m_position = fragment;
            if (fragmentEnd > fragment)
                m_end = fragmentEnd;
        }
        while (m_position < m_end) {
            if (m_text.at(m_position++) == QLatin1Char('<'))
                readTag();
        }
    }

    /// The spans of rows and of columns, in the text's order.
    [[nodiscard]] const std::vector<Word> &spans() const { return m_spans; }

    [[nodiscard]] bool hasColumnSpans() const { return m_spannedColumns > 0; }

    /// At least as many cells as all tables have together.
    [[nodiscard]] qint64 mostCells() const
    {
        const qint64 rows = m_rowTags + m_cellTags; // A cell outside of any row gets a row of its own.
        return rows * (m_cellTags + m_spannedColumns);
    }

private:
    [[nodiscard]] bool isAt(char c) const { return m_position < m_end && m_text.at(m_position) == QLatin1Char(c); }
    [[nodiscard]] bool isAtSpace() const { return m_position < m_end && m_text.at(m_position).isSpace(); }

    void skipSpace()
    {
        while (isAtSpace())
            ++m_position;
    }

    void skipPast(QLatin1String text)
    {
        const auto found = int(m_text.indexOf(text, m_position));
        m_position = found < 0 ? m_end : std::min(m_end, found + int(text.size()));
    }

    void readTag()
    {
        skipSpace();
        if (isAt('!')) {
            const bool isComment = QStringView(m_text).mid(m_position).startsWith(QLatin1String("!--"));
            skipPast(QLatin1String(isComment ? "-->" : ">"));
            return;
        }
        if (isAt('/')) {
            ++m_position;
            readWord();
        } else {
            const QString name = decoded(readWord());
            m_rowTags += name == QLatin1String("tr") ? 1 : 0;
            m_cellTags += name == QLatin1String("td") || name == QLatin1String("th") ? 1 : 0;
            if (isAtSpace())
                readAttributes();
        }
        skipPast(QLatin1String(">"));
    }

    void readAttributes()
    {
        for (;;) {
            skipSpace();
            if (isAt('/'))
                return;
            const QString key = decoded(readWord());
            if (key.isEmpty()) // as at the tag's end
                return;
            skipSpace();
            if (!isAt('='))
                continue;
            ++m_position;
            skipSpace();
            const Word value = readWord();
            const bool isOfColumns = key == QLatin1String("colspan");
            if (isOfColumns || key == QLatin1String("rowspan"))
                m_spans.push_back(value);
            const int columns = isOfColumns ? decoded(value).toInt() : 0;
            m_spannedColumns += columns > 1 ? columns : 0;
        }
    }

    Word readWord()
    {
        if (isAt('"') || isAt('\'')) {
            const QChar quote = m_text.at(m_position++);
            const auto found = int(m_text.indexOf(quote, m_position));
            const Word word{m_position, found < 0 ? m_end : std::min(m_end, found)};
            m_position = std::min(m_end, word.end + 1);
            return word;
        }
        Word word{m_position, m_position};
        while (m_position < m_end && !endsWord())
            ++m_position;
        word.end = m_position;
        return word;
    }

    [[nodiscard]] bool endsWord() const
    {
        const QChar c = m_text.at(m_position);
        const bool closesTag =
            c == QLatin1Char('/') && m_position + 1 < m_end && m_text.at(m_position + 1) == QLatin1Char('>');
        return closesTag || c == QLatin1Char('>') || c == QLatin1Char('<') || c == QLatin1Char('=') || c.isSpace();
    }

    // In lower case, and with letters instead of the character references that can stand for them.
    [[nodiscard]] QString decoded(const Word &word) const
    {
        QString text = m_text.mid(word.begin, word.end - word.begin);
        if (text.contains(QLatin1Char('&')))
            text = QTextDocumentFragment::fromHtml(text.replace(QLatin1Char('<'), QLatin1String("&lt;"))).toPlainText();
        return text.toLower();
    }

    const QString &m_text;
    int m_position = 0;
    int m_end;
    qint64 m_rowTags = 0;
    qint64 m_cellTags = 0;
    qint64 m_spannedColumns = 0;
    std::vector<Word> m_spans;
};

} // namespace

QString withBoundedSpans(const QString &markup, qint64 mostCells)
{
    const TagReader tags(markup);
    if (!tags.hasColumnSpans() || tags.mostCells() <= mostCells)
        return markup;
    QString bounded = markup;
    for (auto span = tags.spans().crbegin(); span != tags.spans().crend(); ++span)
        bounded.replace(span->begin, span->end - span->begin, QLatin1Char('1'));
    return bounded;
}

} // namespace quorvale
