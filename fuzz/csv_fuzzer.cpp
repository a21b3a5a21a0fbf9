// Arbitrary text into the comma-separated readers: they must never crash,
// and what they give back must agree with the line it came from.

#include "common/QFNSStringCategory.h"
#include "exchange/CSVColumnMapping.h"
#include "exchange/CSVUtils.h"

#include <QString>
#include <cstdint>
#include <cstdio>
#include <cstdlib>

using namespace qf;

namespace {

[[noreturn]] void broken(const char* what, const QString& input)
{
    std::fprintf(stderr, "%s\n input: %s\n", what, input.toUtf8().constData());
    std::abort();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const QString text = QString::fromUtf8(reinterpret_cast<const char*>(data), static_cast<qsizetype>(size));

    const QStringList kept = CSVUtils::arrayByImportingCSV_line(text, CSVUtils::Whitespace::Keep);
    const qsizetype pieces = text.count(QLatin1Char(',')) + 1;
    if (kept.size() > pieces)
        broken("more cells than comma-separated pieces", text);
    // Without quotes a line is nothing but its pieces.
    if (!text.contains(QLatin1Char('"')) && kept.join(QLatin1Char(',')) != text)
        broken("a line without quotes does not split into its pieces", text);
    const QStringList trimmed = CSVUtils::arrayByImportingCSV_line(text, CSVUtils::Whitespace::Remove);
    if (trimmed.size() != kept.size())
        broken("trimming changed the number of cells", text);

    // A row may be empty: a line whose only field is an open quote loses it.
    const QList<QStringList> rows = CSVUtils::arrayByImportingCSV(text);
    qsizetype cells = 0;
    for (const QStringList& row : rows)
        cells += row.size();
    if (cells > text.count(QLatin1Char(',')) + rows.size())
        broken("more cells in the rows than comma-separated pieces in their lines", text);
    for (auto header : {QFNSStringCategory::CSVHeader::Absent, QFNSStringCategory::CSVHeader::FirstLine}) {
        const std::vector<CSVMappingRow> mapping = CSVColumnMapping::parseCSVString(text, header);
        const qsizetype sample = header == QFNSStringCategory::CSVHeader::FirstLine ? 0 : 1;
        if (!mapping.empty() && (rows.size() <= sample || static_cast<qsizetype>(mapping.size()) != rows[sample].size()))
            broken("mapping rows do not match the sample row", text);
        const int columns = QFNSStringCategory::columnsFromCSVString(text);
        if (columns < 1)
            broken("fewer than one column", text);
        (void)QFNSStringCategory::valuesFromCSVStringFromColumn(text, columns, header);
    }
    return 0;
}
