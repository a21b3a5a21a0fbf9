#include "exchange/OfxXmlTidy.h"

#include "exchange/OfxXmlRepair.h"

#include <libxml/parser.h>
#include <libxml/parserInternals.h>

#include <algorithm>
#include <climits>
#include <string>
#include <string_view>

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

bool isBlank(QByteArrayView utf8)
{
    for (char c : utf8) {
        if (uchar(c) >= 0x80)
            return isBlank(QString::fromUtf8(utf8));
        if (c != ' ' && c != '\t' && c != '\n' && c != '\r' && c != '\v' && c != '\f')
            return false;
    }
    return true;
}

// One printed line as UTF-16. It grows only when a line outgrows all before
// it, so appending costs no more than the copy itself.
class WideLine {
public:
    void add(char16_t c)
    {
        reserve(1);
        m_text[m_size++] = c;
    }

    void add(std::u16string_view text)
    {
        reserve(text.size());
        std::copy(text.begin(), text.end(), m_text.begin() + std::ptrdiff_t(m_size));
        m_size += text.size();
    }

    // Statements are ASCII but for names and memos, so bytes are widened one
    // by one until one needs the decoder.
    void addUtf8(QByteArrayView utf8)
    {
        reserve(std::size_t(utf8.size()));
        char16_t* wide = m_text.data() + m_size;
        for (qsizetype i = 0; i < utf8.size(); ++i) {
            const uchar c = uchar(utf8[i]);
            if (c >= 0x80) {
                m_size += std::size_t(i);
                const QString rest = QString::fromUtf8(utf8.sliced(i));
                add(std::u16string_view(reinterpret_cast<const char16_t*>(rest.utf16()), std::size_t(rest.size())));
                return;
            }
            wide[i] = c;
        }
        m_size += std::size_t(utf8.size());
    }

    bool isEmpty() const { return m_size == 0; }
    QStringView view() const { return QStringView(m_text.data(), qsizetype(m_size)); }
    void clear() { m_size = 0; }

private:
    void reserve(std::size_t more)
    {
        if (m_size + more > m_text.size())
            m_text.resize(std::max(2 * m_text.size(), m_size + more));
    }

    std::u16string m_text;
    std::size_t m_size = 0;
};

// Text and attribute values are written escaped again, so that a "<" inside
// a value never reads as a tag and a line break never splits a line.
void appendEscaped(WideLine& out, QByteArrayView text)
{
    qsizetype run = 0; // start of the stretch that needs no escape
    for (qsizetype i = 0; i < text.size(); ++i) {
        const char16_t* escape;
        switch (text[i]) {
        case '&': escape = u"&amp;"; break;
        case '<': escape = u"&lt;"; break;
        case '>': escape = u"&gt;"; break;
        case '"': escape = u"&quot;"; break;
        case '\n': escape = u"&#10;"; break;
        case '\r': escape = u"&#13;"; break;
        default: continue;
        }
        out.addUtf8(text.sliced(run, i - run));
        out.add(escape);
        run = i + 1;
    }
    out.addUtf8(text.sliced(run));
}

QByteArrayView view(const xmlChar* text, qsizetype size)
{
    return QByteArrayView(reinterpret_cast<const char*>(text), size);
}

QByteArrayView view(const xmlChar* text)
{
    return QByteArrayView(reinterpret_cast<const char*>(text));
}

// One pass of libxml2's SAX2 parser over a document, handing its elements
// and text to a sink with startElement, endElement and characters.
template <class Sink>
class SaxPass {
public:
    enum class Outcome { Complete, CutShort, Failed };
    // Strict stops at the first error; Recover goes on past all but too deep a nesting.
    enum class Mode { Strict, Recover };

    SaxPass(Sink& sink, QByteArrayView utf8, Mode mode) : m_sink(sink), m_utf8(utf8), m_mode(mode) {}

    Outcome run()
    {
        if (m_utf8.size() > INT_MAX) {
            m_message = QStringLiteral("The statement is too large");
            return Outcome::Failed;
        }
        static const bool initialized = (xmlInitParser(), true);
        (void)initialized;
        xmlSAXHandler handler{};
        handler.initialized = XML_SAX2_MAGIC;
        handler.startElementNs = &SaxPass::onStart;
        handler.endElementNs = &SaxPass::onEnd;
        handler.characters = &SaxPass::onCharacters;
        handler.ignorableWhitespace = &SaxPass::onCharacters;
        handler.cdataBlock = &SaxPass::onCharacters;
        handler.serror = &SaxPass::onError;
        m_context = xmlCreateMemoryParserCtxt(m_utf8.data(), int(m_utf8.size()));
        if (!m_context) {
            m_message = QStringLiteral("Out of memory");
            return Outcome::Failed;
        }
        xmlSAXHandlerPtr own = m_context->sax;
        m_context->sax = &handler;
        m_context->userData = this;
        // The bytes were read as UTF-8 whatever a declaration says; nothing
        // outside the buffer is ever fetched, and entities stay unexpanded.
        xmlCtxtUseOptions(m_context, XML_PARSE_NONET | XML_PARSE_IGNORE_ENC |
                                         (m_mode == Mode::Recover ? XML_PARSE_RECOVER : 0));
        xmlParseDocument(m_context);
        m_context->sax = own;
        xmlFreeParserCtxt(m_context);
        m_context = nullptr;
        if (m_message.isEmpty())
            return Outcome::Complete;
        // Running out of input is a cut; a wrong end tag at the very end is not.
        if (!m_tooDeep && m_errorOffset >= m_utf8.size() && m_errorCode != XML_ERR_TAG_NAME_MISMATCH)
            return Outcome::CutShort;
        return Outcome::Failed;
    }

    // The failure's message and its byte offset into the document.
    const QString& message() const { return m_message; }
    qsizetype errorOffset() const { return m_errorOffset; }

private:
    static SaxPass& self(void* context) { return *static_cast<SaxPass*>(context); }

    void fail(QString message, int code)
    {
        m_message = std::move(message);
        m_errorCode = code;
        m_errorOffset = qsizetype(xmlByteConsumed(m_context));
        xmlStopParser(m_context);
    }

    static void onStart(void* context, const xmlChar* localName, const xmlChar* prefix, const xmlChar*, int,
                        const xmlChar**, int attributeCount, int, const xmlChar** attributes)
    {
        SaxPass& pass = self(context);
        if (pass.m_depth == OfxXmlTidy::kMaxDepth) {
            pass.m_tooDeep = true;
            pass.fail(QStringLiteral("The statement is nested more than %1 elements deep").arg(OfxXmlTidy::kMaxDepth),
                      0);
            return;
        }
        ++pass.m_depth;
        pass.m_sink.startElement(pass.qualifiedName(localName, prefix), attributes, attributeCount);
    }

    static void onEnd(void* context, const xmlChar* localName, const xmlChar* prefix, const xmlChar*)
    {
        SaxPass& pass = self(context);
        --pass.m_depth;
        pass.m_sink.endElement(pass.qualifiedName(localName, prefix));
    }

    static void onCharacters(void* context, const xmlChar* text, int size)
    {
        self(context).m_sink.characters(view(text, size));
    }

    static void onError(void* context, xmlErrorPtr error)
    {
        SaxPass& pass = self(context);
        if (error->level != XML_ERR_FATAL || !pass.m_message.isEmpty() || pass.m_mode == Mode::Recover)
            return;
        pass.fail(QStringLiteral("The statement is not well-formed XML: %1")
                      .arg(QString::fromUtf8(error->message).trimmed()),
                  error->code);
    }

    QByteArrayView qualifiedName(const xmlChar* localName, const xmlChar* prefix)
    {
        if (!prefix)
            return view(localName);
        m_name = view(prefix).toByteArray() + ':' + view(localName).toByteArray();
        return m_name;
    }

    Sink& m_sink;
    QByteArrayView m_utf8;
    Mode m_mode;
    xmlParserCtxtPtr m_context = nullptr;
    QByteArray m_name;
    int m_depth = 0;
    bool m_tooDeep = false;
    QString m_message;
    int m_errorCode = 0;
    qsizetype m_errorOffset = -1;
};

// Writes each line into a buffer that the sink reads when the line is done.
class Printer {
public:
    explicit Printer(OfxLineSink& sink) : m_sink(sink) {}

    void startElement(QByteArrayView name, const xmlChar** attributes, int attributeCount)
    {
        if (m_depth > 0 && m_inlineDepth == 0 && m_topPending) {
            // The parent's text came first: it stays whole on one line.
            if (!isBlank(pendingText())) {
                appendEscaped(m_out, pendingText());
                m_inlineDepth = 1;
            } else {
                endLine();
            }
        }
        m_out.add(u'<');
        m_out.addUtf8(name);
        // Each attribute comes as local name, prefix, namespace, value, value end.
        for (int i = 0; i < attributeCount; ++i) {
            const xmlChar* const* attribute = attributes + 5 * i;
            m_out.add(u' ');
            if (attribute[1]) {
                m_out.addUtf8(view(attribute[1]));
                m_out.add(u':');
            }
            m_out.addUtf8(view(attribute[0]));
            m_out.add(u"=\"");
            // An "&" of the document stays "&#38;" in values the parser hands over.
            const QByteArrayView value = view(attribute[3], attribute[4] - attribute[3]);
            appendEscaped(m_out, value.contains("&#38;") ? value.toByteArray().replace("&#38;", "&") : value);
            m_out.add(u'"');
        }
        m_out.add(u'>');
        ++m_depth;
        if (m_inlineDepth > 0)
            ++m_inlineDepth;
        m_topPending = true;
        m_pendingText.clear();
    }

    void endElement(QByteArrayView name)
    {
        if (m_inlineDepth == 0 && m_topPending)
            appendEscaped(m_out, pendingText());
        m_out.add(u"</");
        m_out.addUtf8(name);
        m_out.add(u'>');
        --m_depth;
        m_topPending = false;
        if (m_inlineDepth > 0 && --m_inlineDepth > 0)
            return;
        endLine();
    }

    void characters(QByteArrayView text)
    {
        if (m_inlineDepth > 0)
            appendEscaped(m_out, text);
        else if (m_topPending)
            m_pendingText.append(text.data(), std::size_t(text.size()));
        else if (!isBlank(text)) {
            appendEscaped(m_out, QString::fromUtf8(text).trimmed().toUtf8());
            endLine();
        }
    }

    // A value cut off reads as the older form's "<TAG>text" line.
    void finishCut()
    {
        if (m_topPending && m_inlineDepth == 0 && !isBlank(pendingText()))
            appendEscaped(m_out, pendingText());
        if (!m_out.isEmpty())
            endLine();
    }

private:
    QByteArrayView pendingText() const { return QByteArrayView(m_pendingText.data(), qsizetype(m_pendingText.size())); }

    void endLine()
    {
        m_sink.line(m_out.view());
        m_out.clear();
    }

    OfxLineSink& m_sink;
    WideLine m_out;
    std::string m_pendingText;
    int m_depth = 0;
    // Above 0 inside an element kept on one line: its own depth plus one per open child.
    int m_inlineDepth = 0;
    // The innermost open element has had no child yet.
    bool m_topPending = false;
};

// Prints one attempt; the error when it fails.
Status print(QByteArrayView body, qsizetype offset, SaxPass<Printer>::Mode mode, OfxLineSink& sink)
{
    Printer printer(sink);
    SaxPass<Printer> pass(printer, body, mode);
    if (pass.run() != SaxPass<Printer>::Outcome::Failed) {
        printer.finishCut();
        return Status::ok();
    }
    // Errors count characters from the start of the text.
    const qsizetype at = std::clamp<qsizetype>(pass.errorOffset(), 0, body.size());
    return Error{pass.message(), int(offset + QString::fromUtf8(body.first(at)).size())};
}

} // namespace

Result<QString> OfxXmlTidy::prettyPrint(QStringView text)
{
    return prettyPrint(text.toUtf8());
}

Result<QString> OfxXmlTidy::prettyPrint(QByteArrayView utf8)
{
    OfxLineText lines;
    if (Status printed = printLines(utf8, lines); !printed)
        return printed.error();
    return lines.take();
}

Status OfxXmlTidy::printLines(QByteArrayView utf8, OfxLineSink& sink)
{
    // The bytes were read as UTF-8 whatever the <?xml?> declaration names, so
    // it is skipped with the header.
    qsizetype start = utf8.indexOf('<');
    if (start >= 0 && utf8.sliced(start).startsWith("<?xml") && utf8.size() > start + 5 &&
        QChar::isSpace(uchar(utf8[start + 5]))) {
        const qsizetype end = utf8.indexOf("?>", start);
        start = end < 0 ? -1 : utf8.indexOf('<', end);
    }
    if (start < 0)
        return Status::ok();
    // Character offsets of errors count from the start of the text.
    const qsizetype offset = QString::fromUtf8(utf8.first(start)).size();
    const QByteArrayView body = utf8.sliced(start);
    using Mode = SaxPass<Printer>::Mode;
    Status printed = print(body, offset, Mode::Strict, sink);
    if (printed)
        return printed;
    // The repaired text has other offsets; the first attempt's error tells
    // the user where the original went wrong.
    sink.restart();
    if (print(OfxXmlRepair::repair(body), offset, Mode::Recover, sink))
        return Status::ok();
    return printed;
}

} // namespace qf
