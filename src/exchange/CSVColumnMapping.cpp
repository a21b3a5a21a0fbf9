#include "exchange/CSVColumnMapping.h"

#include "exchange/CSVUtils.h"

namespace qf {

const QStringList& CSVColumnMapping::importAsValues()
{
    static const QStringList values{QStringLiteral("Do not import"), QStringLiteral("Title"),
                                    QStringLiteral("Date"),          QStringLiteral("Amount"),
                                    QStringLiteral("To"),            QStringLiteral("From"),
                                    QStringLiteral("Add as Tag"),    QStringLiteral("Add to Notes")};
    return values;
}

std::vector<CSVMappingRow> CSVColumnMapping::parseCSVString(QStringView text, Header header)
{
    const QList<QStringList> rows = CSVUtils::arrayByImportingCSV(text);
    const qsizetype sampleIndex = header == Header::FirstLine ? 0 : 1;
    std::vector<CSVMappingRow> mapping;
    if (rows.size() <= sampleIndex)
        return mapping;
    const QStringList& sample = rows[sampleIndex];
    mapping.reserve(static_cast<std::size_t>(sample.size()));
    for (qsizetype column = 0; column < sample.size(); ++column) {
        CSVMappingRow row;
        row.columnValue = header == Header::FirstLine ? Value(sample[column]) : Value(static_cast<std::int64_t>(column + 1));
        row.rowValue = sample[column];
        mapping.push_back(std::move(row));
    }
    return mapping;
}

} // namespace qf
