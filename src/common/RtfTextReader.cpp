#include "common/RtfTextReader.h"

#include <QSet>
#include <algorithm>
#include <cctype>
#include <vector>

namespace qf {

namespace {

// 0x80-0x9F of Windows-1252; the rest of the code page is Latin-1.
constexpr char16_t kCp1252High[32] = {
    0x20AC, 0xFFFD, 0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021, 0x02C6, 0x2030, 0x0160,
    0x2039, 0x0152, 0xFFFD, 0x017D, 0xFFFD, 0xFFFD, 0x2018, 0x2019, 0x201C, 0x201D, 0x2022,
    0x2013, 0x2014, 0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0xFFFD, 0x017E, 0x0178};

QChar fromCp1252(unsigned char byte)
{
    if (byte >= 0x80 && byte < 0xA0)
        return QChar(kCp1252High[byte - 0x80]);
    return QChar(byte);
}

// Destinations that hold no body text.
const QSet<QByteArray>& skippedDestinations()
{
    static const QSet<QByteArray> names{
        "fonttbl",  "colortbl", "stylesheet", "info",      "pict",      "header",        "headerl",
        "headerr",  "headerf",  "footer",     "footerl",   "footerr",   "footerf",       "listtable",
        "listoverridetable",    "rsidtbl",    "generator", "xmlnstbl",  "themedata",     "colorschememapping",
        "latentstyles",         "datastore",  "object",    "fldinst",   "filetbl",       "revtbl",
        "pgdsctbl", "footnote", "annotation", "private",   "nonshppict", "shppict",     "mmathPr"};
    return names;
}

struct GroupState {
    bool skip = false;
    int unicodeFallback = 1; // \ucN: characters that stand in for each \u
};

int hexDigit(char c)
{
    if (c >= '0' && c <= '9')
        return c - '0';
    if (c >= 'a' && c <= 'f')
        return c - 'a' + 10;
    if (c >= 'A' && c <= 'F')
        return c - 'A' + 10;
    return -1;
}

} // namespace

Result<QString> RtfTextReader::plainText(const QByteArray& rtf)
{
    if (!rtf.startsWith("{\\rtf"))
        return Result<QString>::failure(QStringLiteral("Not a rich-text document"), 0);

    QString text;
    std::vector<GroupState> groups;
    GroupState state;
    int pendingSkip = 0; // fallback characters still to drop after a \u
    const qsizetype size = rtf.size();

    auto put = [&](QChar c) {
        if (pendingSkip > 0) {
            --pendingSkip;
            return;
        }
        if (!state.skip)
            text.append(c);
    };

    for (qsizetype i = 0; i < size;) {
        const char c = rtf[i];
        if (c == '{') {
            if (groups.size() >= kMaxDepth)
                return Result<QString>::failure(QStringLiteral("Groups nested too deeply"), int(i));
            groups.push_back(state);
            pendingSkip = 0;
            ++i;
        } else if (c == '}') {
            if (groups.empty())
                return Result<QString>::failure(QStringLiteral("Unmatched closing brace"), int(i));
            state = groups.back();
            groups.pop_back();
            pendingSkip = 0;
            ++i;
        } else if (c == '\r' || c == '\n') {
            ++i;
        } else if (c != '\\') {
            put(fromCp1252(static_cast<unsigned char>(c)));
            ++i;
        } else if (i + 1 >= size) {
            ++i;
        } else if (const char next = rtf[i + 1]; !std::isalpha(static_cast<unsigned char>(next))) {
            i += 2;
            switch (next) {
            case '\\': case '{': case '}': put(QChar(next)); break;
            case '~': put(QChar(0x00A0)); break;
            case '_': put(QChar(0x2011)); break;
            case '\n': case '\r': put(QChar(u'\n')); break;
            case '*': state.skip = true; break;
            case '\'':
                if (i + 1 < size && hexDigit(rtf[i]) >= 0 && hexDigit(rtf[i + 1]) >= 0) {
                    put(fromCp1252(static_cast<unsigned char>(hexDigit(rtf[i]) * 16 + hexDigit(rtf[i + 1]))));
                    i += 2;
                } else if (i < size && hexDigit(rtf[i]) >= 0) {
                    ++i; // half an escape is dropped, not shown as text
                }
                break;
            default: break; // \- optional hyphen and unknown symbols
            }
        } else {
            qsizetype j = i + 1;
            while (j < size && std::isalpha(static_cast<unsigned char>(rtf[j])))
                ++j;
            const QByteArray word = rtf.mid(i + 1, j - i - 1);
            bool hasParameter = false;
            long parameter = 0;
            bool negative = false;
            if (j < size && rtf[j] == '-') {
                negative = true;
                ++j;
            }
            // Parameters are 16 or 32 bit; longer digit runs only saturate.
            while (j < size && std::isdigit(static_cast<unsigned char>(rtf[j]))) {
                hasParameter = true;
                if (parameter < 100000000)
                    parameter = parameter * 10 + (rtf[j] - '0');
                ++j;
            }
            if (negative)
                parameter = -parameter;
            if (j < size && rtf[j] == ' ')
                ++j;
            i = j;

            if (word == "bin" && hasParameter) {
                i += std::max<long>(parameter, 0);
            } else if (word == "u" && hasParameter) {
                const long unit = parameter < 0 ? parameter + 65536 : parameter;
                pendingSkip = 0;
                put(QChar(char16_t(unit)));
                pendingSkip = state.unicodeFallback;
            } else if (word == "uc" && hasParameter) {
                state.unicodeFallback = int(std::clamp<long>(parameter, 0, 16));
            } else if (skippedDestinations().contains(word)) {
                state.skip = true;
            } else if (word == "par" || word == "line" || word == "row" || word == "sect" || word == "page") {
                put(QChar(u'\n'));
            } else if (word == "tab" || word == "cell") {
                put(QChar(u'\t'));
            } else if (word == "emdash") {
                put(QChar(0x2014));
            } else if (word == "endash") {
                put(QChar(0x2013));
            } else if (word == "bullet") {
                put(QChar(0x2022));
            } else if (word == "lquote") {
                put(QChar(0x2018));
            } else if (word == "rquote") {
                put(QChar(0x2019));
            } else if (word == "ldblquote") {
                put(QChar(0x201C));
            } else if (word == "rdblquote") {
                put(QChar(0x201D));
            } else if (pendingSkip > 0) {
                --pendingSkip; // a control word stands in as one fallback character
            }
        }
    }
    return text;
}

} // namespace qf
