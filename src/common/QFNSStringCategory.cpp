#include "common/QFNSStringCategory.h"

#include "app/ResourceFolder.h"
#include "common/RtfTextReader.h"

#include <QCoreApplication>
#include <QFile>
#include <QHash>
#include <QJsonDocument>
#include <QJsonObject>
#include <QList>
#include <QProcess>
#include <QStandardPaths>
#include <utility>

namespace qf {

bool QFNSStringCategory::isValidString(const QString& text)
{
    return !text.isEmpty();
}

bool QFNSStringCategory::isEmptyString(const QString& text)
{
    return text.isEmpty();
}

bool QFNSStringCategory::containsSubstring(const QString& text, QStringView substring)
{
    return !substring.isEmpty() && text.contains(substring);
}

bool QFNSStringCategory::isEqualToString(const QString& text, const QString& other, Qt::CaseSensitivity sensitivity)
{
    if (text.isNull() || other.isNull())
        return false;
    return text.compare(other, sensitivity) == 0;
}

QString QFNSStringCategory::replaceString(const QString& text, QStringView target, QStringView replacement)
{
    // QString::replace would insert between every character for an empty target.
    if (text.isNull() || target.isEmpty())
        return text;
    QString result = text;
    result.replace(target.toString(), replacement.toString());
    return result;
}

QString QFNSStringCategory::replaceSpacesWithString(const QString& text, QStringView replacement)
{
    return replaceString(text, u" ", replacement);
}

QString QFNSStringCategory::removeAllSpaces(const QString& text)
{
    return replaceString(text, u" ", u"_");
}

QString QFNSStringCategory::makeURLFriendly(const QString& text)
{
    return replaceString(text, u" ", u"%20");
}

QString QFNSStringCategory::makeHTTPURL(const QString& text)
{
    if (text.isEmpty() || text.startsWith(u"https://") || text.startsWith(u"http://"))
        return text;
    return QStringLiteral("http://") + text;
}

QString QFNSStringCategory::replaceCharacters(const QString& text, QStringView characters, QStringView replacement)
{
    if (text.isNull() || characters.isEmpty())
        return text;
    const QList<uint> set = characters.toUcs4();
    QString result;
    result.reserve(text.size());
    for (qsizetype i = 0; i < text.size(); ++i) {
        const QChar c = text[i];
        const bool pair = c.isHighSurrogate() && i + 1 < text.size() && text[i + 1].isLowSurrogate();
        const uint codePoint = pair ? QChar::surrogateToUcs4(c, text[i + 1]) : c.unicode();
        if (set.contains(codePoint)) {
            result += replacement;
        } else {
            result += c;
            if (pair)
                result += text[i + 1];
        }
        if (pair)
            ++i;
    }
    return result;
}

QString QFNSStringCategory::cleanupPathString(const QString& path)
{
    if (path.isEmpty())
        return QString();
    QString trimmed = path;
    while (trimmed.size() > 1 && trimmed.endsWith(u'/'))
        trimmed.chop(1);
    const qsizetype slash = trimmed.lastIndexOf(u'/');
    return trimmed.left(slash + 1) + removeAllSpaces(trimmed.mid(slash + 1));
}

QString QFNSStringCategory::stringBetween(const QString& text, QStringView start, QStringView end)
{
    if (text.isNull() || start.isEmpty())
        return QString();
    const qsizetype startAt = text.indexOf(start);
    if (startAt < 0)
        return QString();
    const qsizetype from = startAt + start.size();
    const qsizetype endAt = end.isEmpty() ? -1 : text.indexOf(end, from);
    return endAt < 0 ? text.mid(from) : text.mid(from, endAt - from);
}

QString QFNSStringCategory::stringWithStart(const QString& text, QStringView start, QStringView ending)
{
    const QString between = stringBetween(text, start, ending);
    return between.isNull() ? QString() : start.toString() + between;
}

QString QFNSStringCategory::extractField(const QString& text, QStringView marker, QStringView endString)
{
    const QString field = stringBetween(text, marker, endString);
    return field.isNull() ? QStringLiteral("") : field;
}

QString QFNSStringCategory::extractField(const QString& text, QStringView marker, Qt::CaseSensitivity markerSearch,
                                         QStringView endCharacters)
{
    const qsizetype markerAt = marker.isEmpty() ? -1 : text.indexOf(marker, 0, markerSearch);
    if (markerAt < 0)
        return QStringLiteral("");
    const qsizetype from = markerAt + marker.size();
    qsizetype to = from;
    while (to < text.size() && !endCharacters.contains(text[to]))
        ++to;
    return text.mid(from, to - from);
}

QString QFNSStringCategory::urlStringWithAppendedPath(const QString& text, QStringView path)
{
    if (text.isNull())
        return QString();
    if (text.endsWith(u'/'))
        return text + path;
    return text + u'/' + path;
}

QString QFNSStringCategory::escapeCharacter(const QString& text, QChar character)
{
    switch (character.unicode()) {
    case u'&': return replaceString(text, u"&", u"&amp;");
    case u'<': return replaceString(text, u"<", u"&lt;");
    case u'>': return replaceString(text, u">", u"&gt;");
    case u'"': return replaceString(text, u"\"", u"&quot;");
    case u'\'': return replaceString(text, u"&", u"&apos;");
    default: return text;
    }
}

QString QFNSStringCategory::stringSafeForXML(const QString& text)
{
    QString result = replaceString(text, u"&", u"&amp;");
    result = replaceString(result, u"<", u"&lt;");
    result = replaceString(result, u">", u"&gt;");
    result = replaceString(result, u"\"", u"&quot;");
    return replaceString(result, u"'", u"&apos;");
}

QString QFNSStringCategory::stringByLowercasingPathExtension(const QString& path)
{
    const qsizetype nameStart = path.lastIndexOf(u'/') + 1;
    const qsizetype dot = path.lastIndexOf(u'.');
    if (dot <= nameStart)
        return path;
    return path.left(dot + 1) + path.mid(dot + 1).toLower();
}

namespace {

QString pathExtension(const QString& path)
{
    const qsizetype nameStart = path.lastIndexOf(u'/') + 1;
    const qsizetype dot = path.lastIndexOf(u'.');
    return dot <= nameStart ? QString() : path.mid(dot + 1);
}

// Read once: the table is a resource and does not change while running.
const QHash<QString, QString>& mimeTable()
{
    static const QHash<QString, QString> table = [] {
        QHash<QString, QString> read;
        QFile file(resourceFolder() + QStringLiteral("/MIME.json"));
        if (!file.open(QIODevice::ReadOnly))
            return read;
        const QJsonObject object = QJsonDocument::fromJson(file.readAll()).object();
        for (auto it = object.begin(); it != object.end(); ++it)
            read.insert(it.key().toLower(), it.value().toString());
        return read;
    }();
    return table;
}

QString wordDocumentText(const QString& path)
{
    // Binary word-processor files are left to an installed converter; without
    // one the document has no text rather than garbage.
    for (const QString& tool : {QStringLiteral("antiword"), QStringLiteral("catdoc")}) {
        const QString program = QStandardPaths::findExecutable(tool);
        if (program.isEmpty())
            continue;
        QProcess process;
        process.start(program, {path});
        if (process.waitForFinished(10000) && process.exitStatus() == QProcess::NormalExit &&
            process.exitCode() == 0)
            return QString::fromUtf8(process.readAllStandardOutput());
        process.kill();
        process.waitForFinished(1000);
    }
    return QStringLiteral("");
}

} // namespace

QString QFNSStringCategory::mimeTypeFromExtension(const QString& extension)
{
    return mimeTable().value(extension.toLower());
}

QString QFNSStringCategory::mimeTypeFromFilePath(const QString& path)
{
    return mimeTypeFromExtension(pathExtension(path));
}

QString QFNSStringCategory::stringFromFilePath(const QString& path)
{
    const QString extension = pathExtension(path).toLower();
    if (extension == u"doc")
        return wordDocumentText(path);
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return {};
    const QByteArray bytes = file.readAll();
    if (extension == u"rtf") {
        Result<QString> text = RtfTextReader::plainText(bytes);
        return text ? text.value() : QString();
    }
    return QString::fromUtf8(bytes);
}

QStringList QFNSStringCategory::localizeStringsInArray(const QStringList& texts)
{
    QStringList localized;
    localized.reserve(texts.size());
    for (const QString& text : texts)
        localized << QCoreApplication::translate("QFNSStringCategory", text.toUtf8().constData());
    return localized;
}

QString QFNSStringCategory::CSVStringFromArray(const QList<QStringList>& rows)
{
    QString text;
    for (const QStringList& row : rows)
        text += row.join(QLatin1Char(',')) + QLatin1Char('\r');
    return text;
}

namespace {

QList<QStringView> csvLines(const QString& text)
{
    QList<QStringView> lines;
    qsizetype start = 0;
    for (qsizetype i = 0; i <= text.size(); ++i) {
        if (i == text.size() || text[i] == QLatin1Char('\r') || text[i] == QLatin1Char('\n')) {
            lines.append(QStringView(text).mid(start, i - start));
            start = i + 1;
        }
    }
    return lines;
}

} // namespace

int QFNSStringCategory::columnsFromCSVString(const QString& text)
{
    return static_cast<int>(csvLines(text).first().count(QLatin1Char(','))) + 1;
}

std::optional<QStringList> QFNSStringCategory::valuesFromCSVStringFromColumn(const QString& text, int column,
                                                                             CSVHeader header)
{
    if (column < 1)
        return std::nullopt;
    QStringList values;
    bool skipHeader = header == CSVHeader::FirstLine;
    for (QStringView line : csvLines(text)) {
        if (line.isEmpty())
            continue;
        if (std::exchange(skipHeader, false))
            continue;
        const QList<QStringView> cells = line.split(QLatin1Char(','));
        if (cells.size() < column)
            return std::nullopt;
        QString value = cells[column - 1].toString().remove(QLatin1Char('"'));
        if (value.startsWith(QLatin1Char(' ')))
            value.remove(0, 1);
        if (!value.isEmpty())
            values.append(value);
    }
    return values;
}

} // namespace qf
