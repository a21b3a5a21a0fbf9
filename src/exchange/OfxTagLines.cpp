#include "exchange/OfxTagLines.h"

namespace qf {

namespace {

bool isTagStart(QStringView text, qsizetype at)
{
    if (at + 1 >= text.size())
        return false;
    const QChar next = text[at + 1];
    return next == u'/' || next == u'!' || next == u'?' || next == u'_' || next.isLetter();
}

// The name of the end tag at `at`; empty for any other tag.
QStringView endTagName(QStringView text, qsizetype at)
{
    if (text[at + 1] != u'/')
        return {};
    qsizetype end = at + 2;
    while (end < text.size() && text[end] != u'>' && text[end] != u'<' && !text[end].isSpace())
        ++end;
    return text.sliced(at + 2, end - at - 2);
}

bool isBlank(QStringView text)
{
    // From the end: text before a tag in the middle of a line ends in a
    // value, so the first character checked decides.
    for (qsizetype i = text.size() - 1; i >= 0; --i) {
        if (!text[i].isSpace())
            return false;
    }
    return true;
}

// The line being gathered. It is a stretch of the text, handed over as it
// is; only a line that a comment was cut out of is joined in a buffer.
class LineBuilder {
public:
    explicit LineBuilder(OfxLineSink& sink) : m_sink(sink) {}

    // The text before a comment; the line goes on behind it.
    void hold(QStringView piece)
    {
        m_held += piece;
        m_heldBlank = m_heldBlank && isBlank(piece);
    }

    void end(QStringView piece)
    {
        if (m_held.isEmpty()) {
            if (!piece.isEmpty()) // the LF of a CR LF
                handOver(piece);
            return;
        }
        m_held += piece;
        handOver(m_held);
        m_held.truncate(0);
        m_heldBlank = true;
    }

    // Whether the line holds nothing but white space so far.
    bool isBlankWith(QStringView piece) const { return m_heldBlank && isBlank(piece); }

    // Whether the line opens with the start tag of `name`.
    bool opensWith(QStringView piece, QStringView name) const
    {
        const QStringView head = (m_heldBlank ? piece : QStringView(m_held)).trimmed();
        return !name.isEmpty() && head.size() > name.size() + 1 && head[0] == u'<' &&
               head.sliced(1, name.size()) == name && head[name.size() + 1] == u'>';
    }

private:
    void handOver(QStringView line)
    {
        line = line.trimmed();
        if (!line.isEmpty())
            m_sink.line(line);
    }

    OfxLineSink& m_sink;
    QString m_held;
    bool m_heldBlank = true;
};

} // namespace

void OfxTagLines::printLines(QStringView text, OfxLineSink& sink)
{
    static constexpr QStringView commentStart = u"<!--";
    static constexpr QStringView commentEnd = u"-->";
    LineBuilder line(sink);
    const char16_t* chars = text.utf16();
    const qsizetype size = text.size();
    qsizetype start = 0; // where the part of the line not yet handed to `line` starts
    for (qsizetype i = 0; i < size; ++i) {
        // A tight loop over what needs nothing: printable ASCII but "<".
        while (i < size && char16_t(chars[i] - u'\x0E') < 0x77 && chars[i] != u'<')
            ++i;
        if (i == size)
            break;
        const char16_t c = chars[i];
        if (c == u'<') {
            const QStringView before = text.sliced(start, i - start);
            if (i + 1 < size && chars[i + 1] == u'!' && startsWithAt(text, i, commentStart)) {
                line.hold(before);
                const qsizetype close = text.indexOf(commentEnd, i + commentStart.size());
                start = close < 0 ? size : close + commentEnd.size();
                i = start - 1;
            } else if (isTagStart(text, i) && !line.isBlankWith(before) &&
                       !line.opensWith(before, endTagName(text, i))) {
                line.end(before);
                start = i;
            }
        } else if (isLineBreak(c)) {
            line.end(text.sliced(start, i - start));
            start = i + 1;
        }
    }
    line.end(text.sliced(start));
}

QString OfxTagLines::print(QStringView text)
{
    OfxLineText lines;
    printLines(text, lines);
    return lines.take();
}

} // namespace qf
