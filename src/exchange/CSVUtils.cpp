#include "exchange/CSVUtils.h"

namespace qf {

namespace {

bool isLineEnd(QChar c)
{
    return c == QLatin1Char('\r') || c == QLatin1Char('\n');
}

QString trimmedIf(QStringView text, CSVUtils::Whitespace whitespace)
{
    return (whitespace == CSVUtils::Whitespace::Remove ? text.trimmed() : text).toString();
}

} // namespace

QList<QStringList> CSVUtils::arrayByImportingCSV(QStringView text)
{
    QList<QStringList> rows;
    qsizetype at = 0;
    const qsizetype size = text.size();
    while (true) {
        // White space and line ends between lines are skipped, so a blank
        // line makes no row and a line's leading blanks are not part of it.
        while (at < size && text[at].isSpace())
            ++at;
        if (at == size)
            break;
        const qsizetype start = at;
        while (at < size && !isLineEnd(text[at]))
            ++at;
        rows.append(arrayByImportingCSV_line(text.mid(start, at - start), Whitespace::Remove));
    }
    return rows;
}

QStringList CSVUtils::arrayByImportingCSV_line(QStringView line, Whitespace whitespace)
{
    const QChar quote = QLatin1Char('"');
    QStringList cells;
    QString buffer;
    bool inQuotedField = false;
    for (QStringView piece : line.split(QLatin1Char(','))) {
        if (!inQuotedField) {
            if (piece.startsWith(quote) && !piece.endsWith(quote)) {
                inQuotedField = true;
                buffer = piece.toString() + QLatin1Char(',');
            } else {
                cells.append(trimmedIf(piece, whitespace));
            }
            continue;
        }
        buffer += piece;
        if (!piece.endsWith(quote)) {
            buffer += QLatin1Char(',');
            continue;
        }
        qsizetype first = 0;
        qsizetype last = buffer.size();
        while (first < last && buffer[first] == quote)
            ++first;
        while (last > first && buffer[last - 1] == quote)
            --last;
        cells.append(trimmedIf(QStringView(buffer).mid(first, last - first), whitespace));
        buffer.clear();
        inQuotedField = false;
    }
    return cells;
}

} // namespace qf
