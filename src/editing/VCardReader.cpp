#include "editing/VCardReader.h"

#include <QStringList>

namespace qf {

namespace {

struct Line {
    QString text;
    int number = 0; // line of the file where it starts
};

// Lines with folds undone. A fold is a line end followed by one blank or
// tab, which is dropped with the line end.
std::vector<Line> unfoldedLines(const QString& text)
{
    std::vector<Line> lines;
    int number = 0;
    qsizetype start = 0;
    while (start < text.size()) {
        qsizetype end = text.indexOf(QLatin1Char('\n'), start);
        if (end < 0)
            end = text.size();
        QStringView line = QStringView(text).mid(start, end - start);
        if (line.endsWith(QLatin1Char('\r')))
            line.chop(1);
        ++number;
        start = end + 1;
        if (!line.isEmpty() && (line.front() == QLatin1Char(' ') || line.front() == QLatin1Char('\t'))
            && !lines.empty()) {
            lines.back().text += line.mid(1);
            continue;
        }
        lines.push_back({line.toString(), number});
    }
    return lines;
}

// The offset of the ':' that ends the name and parameters; ':' inside a
// quoted parameter value does not count.
qsizetype valueColon(QStringView line)
{
    bool quoted = false;
    for (qsizetype i = 0; i < line.size(); ++i) {
        if (line[i] == QLatin1Char('"'))
            quoted = !quoted;
        else if (line[i] == QLatin1Char(':') && !quoted)
            return i;
    }
    return -1;
}

// The property name without group and parameters, upper case.
QString propertyName(QStringView head)
{
    const qsizetype semicolon = head.indexOf(QLatin1Char(';'));
    QStringView name = semicolon < 0 ? head : head.left(semicolon);
    const qsizetype dot = name.lastIndexOf(QLatin1Char('.'));
    if (dot >= 0)
        name = name.mid(dot + 1);
    return name.trimmed().toString().toUpper();
}

QString nonEmptyOrNull(const QString& text)
{
    return text.isEmpty() ? QString() : text;
}

} // namespace

QString VCardReader::unescape(QStringView value)
{
    QString out;
    out.reserve(value.size());
    for (qsizetype i = 0; i < value.size(); ++i) {
        const QChar c = value[i];
        if (c != QLatin1Char('\\') || i + 1 == value.size()) {
            out += c;
            continue;
        }
        const QChar next = value[++i];
        out += (next == QLatin1Char('n') || next == QLatin1Char('N')) ? QChar(QLatin1Char('\n')) : next;
    }
    return out;
}

QStringList VCardReader::components(QStringView value)
{
    QStringList parts;
    qsizetype start = 0;
    for (qsizetype i = 0; i < value.size(); ++i) {
        if (value[i] == QLatin1Char('\\')) {
            ++i;
        } else if (value[i] == QLatin1Char(';')) {
            parts.append(unescape(value.mid(start, i - start)));
            start = i + 1;
        }
    }
    parts.append(unescape(value.mid(start)));
    return parts;
}

Result<std::vector<VCardContact>> VCardReader::read(const QByteArray& bytes)
{
    QString text = QString::fromUtf8(bytes);
    if (text.startsWith(QChar(0xFEFF)))
        text.remove(0, 1);

    std::vector<VCardContact> contacts;
    bool inCard = false;
    bool hasName = false;
    int openedAt = 0;
    VCardContact card;
    for (const Line& line : unfoldedLines(text)) {
        if (line.text.trimmed().isEmpty())
            continue;
        const qsizetype colon = valueColon(line.text);
        if (colon < 0) {
            if (inCard)
                return Result<std::vector<VCardContact>>::failure(QStringLiteral("vCard line without ':'"),
                                                                  line.number);
            continue; // text between cards is ignored
        }
        const QString name = propertyName(QStringView(line.text).left(colon));
        const QStringView value = QStringView(line.text).mid(colon + 1);
        if (name == QLatin1String("BEGIN") && value.trimmed().compare(u"VCARD", Qt::CaseInsensitive) == 0) {
            if (inCard)
                return Result<std::vector<VCardContact>>::failure(QStringLiteral("vCard opened inside a vCard"),
                                                                  line.number);
            inCard = true;
            hasName = false;
            openedAt = line.number;
            card = VCardContact();
        } else if (name == QLatin1String("END") && value.trimmed().compare(u"VCARD", Qt::CaseInsensitive) == 0) {
            if (!inCard)
                return Result<std::vector<VCardContact>>::failure(QStringLiteral("END:VCARD without BEGIN"),
                                                                  line.number);
            // A company's card usually repeats the company as FN; that
            // is no person's name.
            if (!hasName && card.organization.isNull())
                card.firstName = card.formattedName;
            contacts.push_back(card);
            inCard = false;
        } else if (!inCard) {
            continue;
        } else if (name == QLatin1String("N")) {
            const QStringList parts = components(value);
            card.lastName = nonEmptyOrNull(parts.value(0));
            card.firstName = nonEmptyOrNull(parts.value(1));
            hasName = !card.lastName.isNull() || !card.firstName.isNull();
        } else if (name == QLatin1String("FN")) {
            card.formattedName = nonEmptyOrNull(unescape(value));
        } else if (name == QLatin1String("ORG")) {
            card.organization = nonEmptyOrNull(components(value).value(0));
        }
    }
    if (inCard)
        return Result<std::vector<VCardContact>>::failure(QStringLiteral("vCard not closed by END:VCARD"), openedAt);
    return contacts;
}

} // namespace qf
