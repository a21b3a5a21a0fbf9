#pragma once

#include <QList>
#include <QStringList>
#include <QStringView>

namespace qf {

// Reading comma-separated text leniently, the way the column-mapping sheet
// shows a file: no field is ever refused and nothing fails.
//
// A field that starts with a double quote and does not end with one runs on
// across the following commas up to a piece that ends with a quote; its
// quotes are then stripped. A field that is quoted and holds no comma keeps
// its quotes. Doubled quotes are not an escape, and a quoted field still
// open at the end of the line is dropped.
class CSVUtils {
public:
    enum class Whitespace { Keep, Remove };

    // One row per non-blank line (lines end at CR or LF), with white space
    // around each cell removed.
    static QList<QStringList> arrayByImportingCSV(QStringView text);
    // The cells of one line. The empty line is one empty cell.
    static QStringList arrayByImportingCSV_line(QStringView line, Whitespace whitespace);
};

} // namespace qf
