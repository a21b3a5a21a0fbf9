#pragma once

#include "common/QFNSStringCategory.h"
#include "common/Value.h"

#include <QString>
#include <QStringList>
#include <QStringView>
#include <vector>

namespace qf {

// One column of a comma-separated file as the mapping sheet lists it.
struct CSVMappingRow {
    bool shouldImport = true;
    QString importAs = QStringLiteral("Do not import"); // one of CSVColumnMapping::importAsValues()
    Value columnValue; // the header's cell, or the column's number from 1 without a header
    QString rowValue;  // the sample cell
};

// What the mapping sheet decides without a window: the choices a column may
// become, and the rows it lists for a file's text.
class CSVColumnMapping {
public:
    using Header = QFNSStringCategory::CSVHeader;

    // "Do not import", "Title", "Date", "Amount", "To", "From", "Add as Tag",
    // "Add to Notes": stored words, shown translated.
    static const QStringList& importAsValues();

    // One row per cell of the sample row, in column order. The sample is the
    // first row when it is a header and the second otherwise: the first row
    // is never taken for data, so a single row without a header, or an empty
    // text, gives no rows.
    static std::vector<CSVMappingRow> parseCSVString(QStringView text, Header header);
};

} // namespace qf
