#include "exchange/OfxXmlTidy.h"

#include <QXmlStreamReader>

namespace qf {

namespace {

bool isBlank(QStringView text)
{
    for (QChar c : text) {
        if (!c.isSpace())
            return false;
    }
    return true;
}

// Text and attribute values are written escaped again, so that a "<" inside
// a value never reads as a tag and a line break never splits a line.
void appendEscaped(QString& out, QStringView text)
{
    qsizetype run = 0; // start of the stretch that needs no escape
    for (qsizetype i = 0; i < text.size(); ++i) {
        QLatin1String escape;
        switch (text[i].unicode()) {
        case u'&': escape = QLatin1String("&amp;"); break;
        case u'<': escape = QLatin1String("&lt;"); break;
        case u'>': escape = QLatin1String("&gt;"); break;
        case u'"': escape = QLatin1String("&quot;"); break;
        case u'\n': escape = QLatin1String("&#10;"); break;
        case u'\r': escape = QLatin1String("&#13;"); break;
        default: continue;
        }
        out += text.sliced(run, i - run);
        out += escape;
        run = i + 1;
    }
    out += text.sliced(run);
}

class Printer {
public:
    explicit Printer(qsizetype sizeHint) { m_out.reserve(sizeHint + sizeHint / 4); }

    // False with the error set when the document is not well-formed.
    bool run(const QByteArray& utf8, qsizetype offset, Error& error)
    {
        QXmlStreamReader reader(utf8);
        while (!reader.atEnd()) {
            switch (reader.readNext()) {
            case QXmlStreamReader::StartElement:
                if (m_depth == OfxXmlTidy::kMaxDepth) {
                    error = Error{QStringLiteral("The statement is nested more than %1 elements deep")
                                      .arg(OfxXmlTidy::kMaxDepth),
                                  int(offset + reader.characterOffset())};
                    return false;
                }
                startElement(reader);
                break;
            case QXmlStreamReader::EndElement:
                endElement(reader.qualifiedName());
                break;
            case QXmlStreamReader::Characters:
                characters(reader.text());
                break;
            default:
                break;
            }
        }
        if (reader.error() == QXmlStreamReader::PrematureEndOfDocumentError) {
            // A value cut off reads as the older form's "<TAG>text" line.
            if (m_topPending && m_inlineDepth == 0 && !isBlank(m_pendingText)) {
                appendEscaped(m_out, m_pendingText);
                m_out += u'\n';
            }
            return true;
        }
        if (reader.error() == QXmlStreamReader::NoError)
            return true;
        error = Error{QStringLiteral("The statement is not well-formed XML: %1").arg(reader.errorString()),
                      int(offset + reader.characterOffset())};
        return false;
    }

    QString take() { return std::move(m_out); }

private:
    void startElement(const QXmlStreamReader& reader)
    {
        if (m_depth > 0 && m_inlineDepth == 0 && m_topPending) {
            // The parent's text came first: it stays whole on one line.
            if (!isBlank(m_pendingText)) {
                appendEscaped(m_out, m_pendingText);
                m_inlineDepth = 1;
            } else {
                m_out += u'\n';
            }
        }
        m_out += u'<';
        m_out += reader.qualifiedName();
        for (const QXmlStreamAttribute& attribute : reader.attributes()) {
            m_out += u' ';
            m_out += attribute.qualifiedName();
            m_out += QLatin1String("=\"");
            appendEscaped(m_out, attribute.value());
            m_out += u'"';
        }
        m_out += u'>';
        ++m_depth;
        if (m_inlineDepth > 0)
            ++m_inlineDepth;
        m_topPending = true;
        m_pendingText.resize(0);
    }

    void endElement(QStringView name)
    {
        if (m_inlineDepth == 0 && m_topPending)
            appendEscaped(m_out, m_pendingText);
        m_out += QLatin1String("</");
        m_out += name;
        m_out += u'>';
        --m_depth;
        m_topPending = false;
        if (m_inlineDepth > 0 && --m_inlineDepth > 0)
            return;
        m_out += u'\n';
    }

    void characters(QStringView text)
    {
        if (m_inlineDepth > 0)
            appendEscaped(m_out, text);
        else if (m_topPending)
            m_pendingText += text;
        else if (!isBlank(text)) {
            appendEscaped(m_out, text.trimmed());
            m_out += u'\n';
        }
    }

    QString m_out;
    QString m_pendingText;
    int m_depth = 0;
    // Above 0 inside an element kept on one line: its own depth plus one per open child.
    int m_inlineDepth = 0;
    // The innermost open element has had no child yet.
    bool m_topPending = false;
};

// The name of a start tag's element, or empty for end tags, declarations,
// processing instructions and empty elements.
QStringView startTagName(QStringView tag)
{
    if (tag.size() < 3 || tag[1] == u'/' || tag[1] == u'?' || tag[1] == u'!' || tag[tag.size() - 2] == u'/')
        return {};
    qsizetype end = 1;
    while (end < tag.size() - 1 && !tag[end].isSpace())
        ++end;
    return tag.sliced(1, end - 1);
}

} // namespace

Result<QString> OfxXmlTidy::prettyPrint(QStringView text)
{
    return prettyPrint(text.toUtf8());
}

Result<QString> OfxXmlTidy::prettyPrint(QByteArrayView utf8)
{
    // The parser reads the bytes as UTF-8 only while no declaration names
    // another encoding, so the <?xml?> declaration is skipped with the header.
    qsizetype start = utf8.indexOf('<');
    if (start >= 0 && utf8.sliced(start).startsWith("<?xml") && utf8.size() > start + 5 &&
        QChar::isSpace(uchar(utf8[start + 5]))) {
        const qsizetype end = utf8.indexOf("?>", start);
        start = end < 0 ? -1 : utf8.indexOf('<', end);
    }
    if (start < 0)
        return QString();
    // Character offsets of errors count from the start of the text.
    const qsizetype offset = QString::fromUtf8(utf8.first(start)).size();
    const QByteArrayView body = utf8.sliced(start);
    Printer printer(body.size());
    Error error;
    if (printer.run(QByteArray::fromRawData(body.data(), body.size()), offset, error))
        return printer.take();
    // The repaired text has other offsets; the first attempt's error tells
    // the user where the original went wrong.
    Printer repaired(body.size());
    Error ignored;
    if (repaired.run(closeOpenLeaves(QString::fromUtf8(body)).toUtf8(), offset, ignored))
        return repaired.take();
    return error;
}

QString OfxXmlTidy::closeOpenLeaves(QStringView text)
{
    QString out;
    out.reserve(text.size() + text.size() / 8);
    qsizetype pos = 0;
    while (pos < text.size()) {
        const qsizetype open = text.indexOf(u'<', pos);
        if (open < 0)
            break;
        out += text.sliced(pos, open - pos);
        // Sections whose content may hold ">" end at their own terminator.
        QStringView terminator = u">";
        if (text.sliced(open).startsWith(u"<![CDATA["))
            terminator = u"]]>";
        else if (text.sliced(open).startsWith(u"<!--"))
            terminator = u"-->";
        const qsizetype close = text.indexOf(terminator, open + 1);
        if (close < 0) {
            pos = open;
            break;
        }
        const qsizetype tagEnd = close + terminator.size();
        const QStringView tag = text.sliced(open, tagEnd - open);
        out += tag;
        pos = tagEnd;
        const QStringView name = startTagName(tag);
        if (name.isEmpty())
            continue;
        qsizetype next = text.indexOf(u'<', pos);
        if (next < 0)
            next = text.size();
        const QStringView content = text.sliced(pos, next - pos);
        if (isBlank(content))
            continue;
        const QStringView rest = text.sliced(next);
        const bool closed = rest.startsWith(u"</") && rest.sliced(2).startsWith(name) &&
                            rest.size() > 2 + name.size() && rest[2 + name.size()] == u'>';
        // Text followed by CDATA or a comment is not a leaf left open.
        if (closed || rest.startsWith(u"<!"))
            continue;
        const QStringView value = content.trimmed();
        const qsizetype valueEnd = value.data() - content.data() + value.size();
        out += content.first(valueEnd);
        out += QLatin1String("</");
        out += name;
        out += u'>';
        out += content.sliced(valueEnd);
        pos = next;
    }
    out += text.sliced(pos);
    return out;
}

} // namespace qf
