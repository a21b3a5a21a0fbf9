#pragma once

#include "common/Value.h"

#include <QString>
#include <QStringView>
#include <functional>
#include <memory>
#include <optional>
#include <vector>

namespace qf {

class DecimalNumberParser;
class PercentDateParser;

// Turns the text of a QIF file into plain records, one per transaction:
// dictionaries with the keys "Date" (a date), "Amount" (a number), "Cleared
// Status", "Reference Number", "Payee", "Memo", "Address", "Category",
// "Category Split" and "Dollar Amount Split" (texts). It matches nothing
// against the ledger and stores nothing.
//
// The first line of the text is the header and never a record; the rest is
// cut at every "^". Within a record the first character of a line names the
// field and a later line of the same field wins ("E" lands on "Memo" too).
// Records without both a date and an amount are dropped. Nothing is ever
// reported: lines and records that cannot be used are skipped.
//
// Amounts are read in the default locale at construction, after removing
// every U+0020 space; dates with newDateFormat (see PercentDateParser).
class QFQIFParser {
public:
    QFQIFParser();
    ~QFQIFParser();
    QFQIFParser(const QFQIFParser&) = delete;
    QFQIFParser& operator=(const QFQIFParser&) = delete;

    void setQifString(const QString& text) { m_qifString = text; }
    const QString& qifString() const { return m_qifString; }
    void setNewDateFormat(const QString& pattern);
    const QString& newDateFormat() const { return m_newDateFormat; }

    // The date text of the first record that completes a date line and a
    // readable amount line (a date line seen in an earlier record counts);
    // none when no record does. The date is not read here.
    std::optional<QString> dateFormatString() const;
    // Every usable record, in file order.
    std::vector<ValueDictionary> listOfTransactions() const;
    // "Bank Account", "Cash Account", ... for a known header line; none for
    // any other header and for a text without a line end.
    std::optional<QString> QIFType() const;

    // The steps, each on its own.
    enum class LineEnds { Keep, Remove };
    // Lines end at LF, CR, CR LF, U+2028 and U+2029; every line is kept,
    // empty ones too. Removing cuts a line before its first CR or LF.
    static std::vector<QStringView> arrayWithLines(QStringView text, LineEnds ends);
    static void forEachLine(QStringView text, LineEnds ends, const std::function<void(QStringView)>& visit);
    static QStringView removeNewLineCharactersFromString(QStringView line);
    // The record texts: views into qifString(), valid while it is unchanged.
    std::vector<QStringView> transactions() const;
    // One record text to a record; none when it lacks a date or an amount.
    std::optional<ValueDictionary> transInfoFrom(QStringView recordText) const;
    // The key a line's first character names; a null text for other codes.
    static QString lineTypeFromString(QStringView line);
    static QStringView lineValueFromString(QStringView line) { return line.size() > 1 ? line.sliced(1) : QStringView(); }
    // An amount line's value with its spaces removed; none when it is no number.
    std::optional<double> amountFromString(QStringView value) const;

private:
    QString m_qifString;
    QString m_newDateFormat;
    std::unique_ptr<DecimalNumberParser> m_amountFormatter;
    std::unique_ptr<PercentDateParser> m_dateParser;
};

} // namespace qf
