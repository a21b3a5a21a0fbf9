#pragma once

#include <QChar>
#include <QString>
#include <QStringList>
#include <QStringView>
#include <optional>

namespace qf {

// The program's small text operations: tests for required fields, literal
// replacements, markers, paths and XML escapes.
//
// A null QString is a missing text and an empty one a present but empty
// text; both fail isValidString. Operations on a missing text give a missing
// text back (or false), like messages sent to nothing. A "space" is U+0020.
class QFNSStringCategory {
public:
    // Present and not empty: the test for every required field.
    static bool isValidString(const QString& text);
    static bool isEmptyString(const QString& text);
    // An empty substring is never contained.
    static bool containsSubstring(const QString& text, QStringView substring);
    // A missing text equals nothing, not even another missing text.
    static bool isEqualToString(const QString& text, const QString& other, Qt::CaseSensitivity sensitivity);

    // Literal replacement of every occurrence; an empty target changes nothing.
    static QString replaceString(const QString& text, QStringView target, QStringView replacement);
    static QString replaceSpacesWithString(const QString& text, QStringView replacement);
    static QString removeAllSpaces(const QString& text);  // spaces become "_"
    static QString makeURLFriendly(const QString& text);  // spaces become "%20"
    // "http://" in front unless the text is empty or already starts with
    // "http://" or "https://".
    static QString makeHTTPURL(const QString& text);
    // Every character of the text found in `characters` is replaced once:
    // replacement text is not searched again.
    static QString replaceCharacters(const QString& text, QStringView characters, QStringView replacement);
    // Spaces of the last path component become "_"; missing for a missing or
    // empty path. A trailing "/" is dropped.
    static QString cleanupPathString(const QString& path);

    // The text after the first `start` up to the first `end` after it, or to
    // the end of the text when no `end` follows; missing when `start` is.
    static QString stringBetween(const QString& text, QStringView start, QStringView end);
    // As stringBetween, with the start marker included.
    static QString stringWithStart(const QString& text, QStringView start, QStringView ending);
    // The text after `marker` up to `endString` (or to the end); empty, not
    // missing, when the marker is not there.
    static QString extractField(const QString& text, QStringView marker, QStringView endString);
    // The text after `marker`, found with the given case sensitivity, up to the
    // first of `endCharacters` (or to the end); empty when the marker is not there.
    static QString extractField(const QString& text, QStringView marker, Qt::CaseSensitivity markerSearch,
                                QStringView endCharacters);
    // Joined with "/" unless the text already ends with one.
    static QString urlStringWithAppendedPath(const QString& text, QStringView path);

    // Escapes one of & < > " ' as its XML entity. Asked for the apostrophe it
    // replaces every "&" by "&apos;" instead, a slip that stays for files
    // already written with it. Any other character leaves the text as it is.
    static QString escapeCharacter(const QString& text, QChar character);
    // All five XML entities, "&" first.
    static QString stringSafeForXML(const QString& text);
    // "Scan.PDF" becomes "Scan.pdf"; a name starting with its only dot has no extension.
    static QString stringByLowercasingPathExtension(const QString& path);

    // The MIME type for an extension (any case, no dot) from the resource
    // table MIME.json; missing when the table has none.
    static QString mimeTypeFromExtension(const QString& extension);
    static QString mimeTypeFromFilePath(const QString& path);
    // The plain text of a file by its extension: "rtf" through RtfTextReader,
    // "doc" through antiword or catdoc when one is installed (else empty),
    // anything else read as UTF-8. Missing when the file cannot be read.
    static QString stringFromFilePath(const QString& path);
    // Each text through the interface's translation.
    static QStringList localizeStringsInArray(const QStringList& texts);

    // Comma-separated text without quoting, for tools that read simple tables.
    enum class CSVHeader { Absent, FirstLine };
    // Each row's cells joined by "," and ended by a CR.
    static QString CSVStringFromArray(const QList<QStringList>& rows);
    // Comma-separated pieces of the first line (up to the first CR or LF);
    // 1 for an empty text.
    static int columnsFromCSVString(const QString& text);
    // The cells of a column (counted from 1) line by line, blank lines
    // skipped, each with every double quote removed and one leading space
    // dropped; cells left empty are left out. The header is the first
    // non-blank line. None when a column below 1 is asked for or when a line
    // has fewer cells than the column.
    static std::optional<QStringList> valuesFromCSVStringFromColumn(const QString& text, int column,
                                                                    CSVHeader header);
};

} // namespace qf
