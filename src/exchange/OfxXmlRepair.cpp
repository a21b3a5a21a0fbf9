#include "exchange/OfxXmlRepair.h"

#include "exchange/OfxXmlTidy.h"

#include <QChar>
#include <algorithm>
#include <vector>

namespace qf {

namespace {

bool isNameStart(char c)
{
    const uchar u = uchar(c);
    return u >= 0x80 || ((u | 0x20) >= 'a' && (u | 0x20) <= 'z') || c == '_' || c == ':';
}

// Where the next markup starts: a "<" before a name, "/", "!" or "?".
qsizetype nextMarkup(QByteArrayView text, qsizetype from)
{
    for (qsizetype at = text.indexOf('<', from); at >= 0 && at + 1 < text.size(); at = text.indexOf('<', at + 1)) {
        const char next = text[at + 1];
        if (next == '/' || next == '!' || next == '?' || isNameStart(next))
            return at;
    }
    return text.size();
}

bool isXmlChar(char32_t c)
{
    return c == 0x9 || c == 0xA || c == 0xD || (c >= 0x20 && c <= 0xD7FF) || (c >= 0xE000 && c <= 0xFFFD) ||
           (c >= 0x10000 && c <= 0x10FFFF);
}

int digitValue(char c, bool hex)
{
    if (c >= '0' && c <= '9')
        return c - '0';
    const char lower = char(c | 0x20);
    return hex && lower >= 'a' && lower <= 'f' ? lower - 'a' + 10 : -1;
}

// The length of the reference XML knows at the start of `text` ("&amp;",
// "&#38;", "&#x26;"), or 0 when the "&" starts none.
qsizetype referenceLength(QByteArrayView text)
{
    for (QByteArrayView entity : {"&amp;", "&lt;", "&gt;", "&quot;", "&apos;"}) {
        if (text.startsWith(entity))
            return entity.size();
    }
    if (!text.startsWith("&#"))
        return 0;
    const bool hex = text.size() > 2 && text[2] == 'x';
    const qsizetype digits = hex ? 3 : 2;
    qsizetype at = digits;
    char32_t code = 0;
    // Eight digits reach past the last character; more would overflow.
    for (; at < text.size() && at - digits < 8; ++at) {
        const int digit = digitValue(text[at], hex);
        if (digit < 0)
            break;
        code = code * (hex ? 16 : 10) + char32_t(digit);
    }
    if (at == digits || at == text.size() || text[at] != ';' || !isXmlChar(code))
        return 0;
    return at + 1;
}

// Text with its bare "&" and "<" escaped.
void appendText(QByteArray& out, QByteArrayView text)
{
    qsizetype run = 0; // start of the stretch copied as it is
    for (qsizetype i = 0; i < text.size(); ++i) {
        const char c = text[i];
        if (c != '&' && c != '<')
            continue;
        if (c == '&') {
            if (const qsizetype length = referenceLength(text.sliced(i)); length > 0) {
                i += length - 1;
                continue;
            }
        }
        out += text.sliced(run, i - run);
        out += c == '&' ? QByteArrayView("&amp;") : QByteArrayView("&lt;");
        run = i + 1;
    }
    out += text.sliced(run);
}

// The element name at the start of a tag's text behind its "<" or "</".
QByteArrayView tagName(QByteArrayView text)
{
    qsizetype end = 0;
    while (end < text.size() && text[end] != '>' && text[end] != '/' && !QChar::isSpace(uchar(text[end])))
        ++end;
    return text.first(end);
}

// One pass over the text that writes it out repaired.
class Repairer {
public:
    explicit Repairer(QByteArrayView text) : m_text(text) { m_out.reserve(text.size() + text.size() / 8); }

    QByteArray run()
    {
        qsizetype pos = 0;
        while (pos < m_text.size()) {
            const qsizetype open = nextMarkup(m_text, pos);
            appendText(m_out, m_text.sliced(pos, open - pos));
            if (open == m_text.size())
                break;
            // Sections whose content may hold ">" end at their own terminator.
            const QByteArrayView rest = m_text.sliced(open);
            QByteArrayView opener = "<";
            QByteArrayView terminator = ">";
            if (rest.startsWith("<![CDATA["))
                opener = "<![CDATA[", terminator = "]]>";
            else if (rest.startsWith("<!--"))
                opener = "<!--", terminator = "-->";
            else if (rest.startsWith("<?"))
                opener = "<?", terminator = "?>";
            const qsizetype close = m_text.indexOf(terminator, open + opener.size());
            if (close < 0) {
                m_out += rest;
                break;
            }
            pos = close + terminator.size();
            const QByteArrayView tag = m_text.sliced(open, pos - open);
            if (opener == "<!--")
                continue;
            if (tag[1] == '/')
                endTag(tagName(tag.sliced(2)), tag);
            else if (tag[1] == '!' || tag[1] == '?' || tag.endsWith("/>"))
                m_out += tag;
            else
                pos = startTag(tag, pos);
        }
        return std::move(m_out);
    }

private:
    struct Open {
        QByteArrayView name;
        // For a list: where its end tag goes when it is missing, behind its
        // last transaction; -1 before the first one.
        qsizetype listEnd = -1;
    };

    // Returns where reading goes on.
    qsizetype startTag(QByteArrayView tag, qsizetype pos)
    {
        const QByteArrayView name = tagName(tag.sliced(1));
        if (name == "STMTTRN") {
            if (const qsizetype open = find(name, "BANKTRANLIST"); open >= 0)
                closeDownTo(open);
        }
        m_out += tag;
        qsizetype next = nextMarkup(m_text, pos);
        QByteArrayView content = m_text.sliced(pos, next - pos);
        // Comments go, so a value runs on behind them.
        QByteArray joined;
        while (m_text.sliced(next).startsWith("<!--")) {
            const qsizetype end = m_text.indexOf("-->", next + 4);
            if (end < 0)
                break;
            if (content.data() != joined.data())
                joined = content.toByteArray();
            const qsizetype after = end + 3;
            next = nextMarkup(m_text, after);
            joined += m_text.sliced(after, next - after);
            content = joined;
        }
        const QByteArrayView rest = m_text.sliced(next);
        const bool closed = rest.startsWith("</") && tagName(rest.sliced(2)) == name;
        // Text followed by CDATA is not a value left open.
        const QByteArrayView value = content.trimmed();
        if (value.isEmpty() || closed || rest.startsWith("<!")) {
            m_open.push_back({name});
            return pos;
        }
        const qsizetype valueEnd = value.data() - content.data() + value.size();
        appendText(m_out, content.first(valueEnd));
        m_out += "</";
        m_out += name;
        m_out += '>';
        m_out += content.sliced(valueEnd);
        return next;
    }

    void endTag(QByteArrayView name, QByteArrayView tag)
    {
        const qsizetype open = find(name, {});
        if (open < 0)
            return;
        closeDownTo(open + 1);
        m_out += tag;
        m_open.pop_back();
        closed(name);
    }

    // The innermost open element named `name`, not looking past one named
    // `stop` nor deeper than a document the parser takes; -1 when there is none.
    qsizetype find(QByteArrayView name, QByteArrayView stop) const
    {
        const qsizetype last = std::max<qsizetype>(0, qsizetype(m_open.size()) - OfxXmlTidy::kMaxDepth - 1);
        for (qsizetype i = qsizetype(m_open.size()) - 1; i >= last; --i) {
            if (m_open[std::size_t(i)].name == name)
                return i;
            if (m_open[std::size_t(i)].name == stop)
                break;
        }
        return -1;
    }

    // Closes the innermost open elements until `size` are left.
    void closeDownTo(qsizetype size)
    {
        while (qsizetype(m_open.size()) > size) {
            const Open top = m_open.back();
            m_open.pop_back();
            const QByteArray endTag = "</" + top.name.toByteArray() + '>';
            if (top.name == "BANKTRANLIST" && top.listEnd >= 0)
                m_out.insert(top.listEnd, endTag);
            else
                m_out += endTag;
            closed(top.name);
        }
    }

    void closed(QByteArrayView name)
    {
        if (name == "STMTTRN" && !m_open.empty() && m_open.back().name == "BANKTRANLIST")
            m_open.back().listEnd = m_out.size();
    }

    QByteArrayView m_text;
    QByteArray m_out;
    std::vector<Open> m_open;
};

} // namespace

QByteArray OfxXmlRepair::repair(QByteArrayView utf8)
{
    return Repairer(utf8).run();
}

} // namespace qf
