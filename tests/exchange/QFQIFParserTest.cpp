#include "exchange/QFQIFParser.h"

#include "common/LocaleDefaults.h"
#include "support/PinnedZone.h"

#include <QFile>
#include <gtest/gtest.h>

using namespace qf;
using qf::testing::berlinTime;

namespace {

// Amounts are read in the locale of the parser's construction: pin it.
class QIFParserTest : public ::testing::Test {
protected:
    void SetUp() override { LocaleDefaults::setLocaleIdentifier(QStringLiteral("en_US")); }
    void TearDown() override { LocaleDefaults::setLocaleIdentifier(QString()); }

    std::vector<ValueDictionary> read(const QString& text, const QString& pattern = QStringLiteral("%m/%d'%y"))
    {
        QFQIFParser parser;
        parser.setQifString(text);
        parser.setNewDateFormat(pattern);
        return parser.listOfTransactions();
    }
};

// A record as "key=value|..." in key order, dates as local days.
QString describe(const ValueDictionary& record)
{
    QStringList parts;
    for (const auto& [key, value] : record) {
        QString text = value.toString();
        if (value.type() == Value::Type::Date)
            text = qf::testing::inBerlin(value.toDate()).toString(QStringLiteral("yyyy-MM-dd HH:mm"));
        else if (value.isNumeric())
            text = QString::number(value.toDouble(), 'f', 2);
        parts << key + QLatin1Char('=') + text;
    }
    return parts.join(QLatin1Char('|'));
}

QStringList describeAll(const std::vector<ValueDictionary>& records)
{
    QStringList all;
    for (const ValueDictionary& record : records)
        all << describe(record);
    return all;
}

QString dataFile(const char* name)
{
    QFile file(QStringLiteral(QUILLFEN_TEST_DATA_DIR "/qif/") + QString::fromLatin1(name));
    EXPECT_TRUE(file.open(QIODevice::ReadOnly)) << name;
    return QString::fromLatin1(file.readAll());
}

} // namespace

TEST_F(QIFParserTest, LaterLinesWinAndSplitMemoReplacesTheMemo)
{
    const auto records = read(QStringLiteral("!Type:Bank\n"
                                             "D1/ 5'08\nT-85.20\nPGrocery Mart\nMfirst\nMsecond\nLGroceries\n"
                                             "SFood\nEFood part\n$-60.00\nSHousehold\nEHousehold part\n$-25.20\n"
                                             "A12 Main St\nASpringfield\nCX\nN1043\nUignored\nQ7\n^\n"));
    ASSERT_EQ(records.size(), 1u);
    EXPECT_EQ(describe(records[0]), QStringLiteral("Address=Springfield|Amount=-85.20|Category=Groceries|"
                                                   "Category Split=Household|Cleared Status=X|Date=2008-01-05 00:00|"
                                                   "Dollar Amount Split=-25.20|Memo=Household part|Payee=Grocery Mart|"
                                                   "Reference Number=1043"));
    // Values are kept as they stand, spaces included; codes are case-sensitive.
    const auto spaced = read(QStringLiteral("!Type:Bank\nD1/ 5'08\nT1\nP  Two spaces \np lower\n^\n"));
    ASSERT_EQ(spaced.size(), 1u);
    EXPECT_EQ(spaced[0].at(QStringLiteral("Payee")).toString(), QStringLiteral("  Two spaces "));
}

TEST_F(QIFParserTest, DropsRecordsWithoutDateOrAmountAndUnreadableValuesRemoveEarlierOnes)
{
    const auto records = read(QStringLiteral("!Type:Bank\n"
                                             "D1/ 5'08\nT--\nPDouble hyphen\n^\n"
                                             "D2/30'08\nT-10.00\nPNo such day\n^\n"
                                             "T-1.00\nPNo date line\n^\n"
                                             "D1/ 6'08\nT-3.00\nTjunk\nPAmount undone by a bad line\n^\n"
                                             "D1/ 7'08\nT-4.00\nD1/ 7/08\nPDate undone\n^\n"
                                             "D1/ 8'08\nT-5.00\n^\n"));
    EXPECT_EQ(describeAll(records), QStringList({QStringLiteral("Amount=-5.00|Date=2008-01-08 00:00")}));
}

TEST_F(QIFParserTest, HeaderIsNeverARecordAndCaretEndsARecordAnywhere)
{
    // Field lines on the header line do not count; "^" inside a payee cuts it.
    const auto records = read(QStringLiteral("D1/ 1'08\nT-1.00\nPHeader\n"
                                             "D1/ 2'08\nT-2.00\nPAT^T Wireless\nMafter caret\n^\n"));
    EXPECT_EQ(describeAll(records),
              QStringList({QStringLiteral("Amount=-2.00|Date=2008-01-02 00:00|Payee=AT")}));
    EXPECT_TRUE(read(QStringLiteral("!Type:Bank\n")).empty());
    // Without any line end the whole text is the header.
    EXPECT_TRUE(read(QStringLiteral("D1/ 2'08 T-2.00 ^")).empty());
}

TEST_F(QIFParserTest, AmountsLoseTheirSpacesAndFollowTheLocale)
{
    const auto records = read(QStringLiteral("!Type:Bank\nD1/ 5'08\nT1 234.56\n^\nD1/ 5'08\nT-1,234.50\n^\n"
                                             "D1/ 5'08\nT 42 \n^\nD1/ 5'08\nT$5.00\n^\n"));
    EXPECT_EQ(describeAll(records), QStringList({QStringLiteral("Amount=1234.56|Date=2008-01-05 00:00"),
                                                 QStringLiteral("Amount=-1234.50|Date=2008-01-05 00:00"),
                                                 QStringLiteral("Amount=42.00|Date=2008-01-05 00:00")}));
    LocaleDefaults::setLocaleIdentifier(QStringLiteral("de_DE"));
    const auto german = read(QStringLiteral("!Type:Bank\nD1/ 5'08\nT-1.234,50\n^\nD1/ 5'08\nT-12.5\n^\n"));
    // A German dot groups thousands, so "-12.5" is no number there.
    ASSERT_EQ(german.size(), 1u);
    EXPECT_EQ(german[0].at(QStringLiteral("Amount")).toDouble(), -1234.5);
}

TEST_F(QIFParserTest, EveryKindOfLineEndSplitsLines)
{
    const QString body = QStringLiteral("D1/ 5'08#T-1.00#PA#^#D1/ 6'08#T-2.00#PB#^#");
    for (const char* end : {"\n", "\r", "\r\n"}) {
        QString text = QStringLiteral("!Type:Bank#") + body;
        text.replace(QLatin1Char('#'), QString::fromUtf8(end));
        EXPECT_EQ(describeAll(read(text)).join(QLatin1Char(';')),
                  QStringLiteral("Amount=-1.00|Date=2008-01-05 00:00|Payee=A;Amount=-2.00|Date=2008-01-06 00:00|Payee=B"))
            << QString::fromUtf8(end).toUtf8().toHex().constData();
    }
    // Unicode separators end lines too, but removing line ends cuts only CR
    // and LF: the separator stays on the value, and the date no longer reads.
    QFQIFParser parser;
    parser.setQifString(QString::fromUtf8("!Type:Bank\u2029PA\u2028D1/ 5'08\u2028T1\u2028^"));
    const auto pieces = parser.transactions();
    ASSERT_EQ(pieces.size(), 2u);
    EXPECT_EQ(pieces[0].toString(), QString::fromUtf8("PA\u2028D1/ 5'08\u2028T1\u2028"));
    EXPECT_FALSE(parser.transInfoFrom(pieces[0]));
    // Terminators stay on the lines unless removed; empty lines are lines.
    const auto kept = QFQIFParser::arrayWithLines(u"a\r\n\rb\nc", QFQIFParser::LineEnds::Keep);
    ASSERT_EQ(kept.size(), 4u);
    EXPECT_EQ(kept[0], u"a\r\n");
    EXPECT_EQ(kept[1], u"\r");
    EXPECT_EQ(kept[3], u"c");
    const auto cut = QFQIFParser::arrayWithLines(u"a\r\n\u2028b", QFQIFParser::LineEnds::Remove);
    ASSERT_EQ(cut.size(), 3u);
    EXPECT_EQ(cut[0], u"a");
    EXPECT_EQ(cut[1], u"\u2028"); // only CR and LF are cut off
}

TEST_F(QIFParserTest, SampleDateComesFromTheFirstRecordCompletingDateAndAmount)
{
    QFQIFParser parser;
    parser.setQifString(QStringLiteral("!Type:Bank\nD1/ 5'08\nTbad\n^\nPno date here\nT-3.00\n^\nD9/ 9'09\nT1\n^\n"));
    EXPECT_EQ(parser.dateFormatString(), QStringLiteral("1/ 5'08"));
    parser.setQifString(QStringLiteral("!Type:Bank\nD1/ 5'08\nTbad\n^\nD2/ 6'08\nT-3.00\nD3/ 7'08\n^\n"));
    EXPECT_EQ(parser.dateFormatString(), QStringLiteral("3/ 7'08"));
    parser.setQifString(QStringLiteral("!Type:Bank\nD1/ 5'08\nTbad\n^\nPonly payee\n^\n"));
    EXPECT_FALSE(parser.dateFormatString());
    parser.setQifString(QString());
    EXPECT_FALSE(parser.dateFormatString());
}

TEST_F(QIFParserTest, HeaderNamesTheAccountKind)
{
    QFQIFParser parser;
    const std::pair<const char*, const char*> kinds[] = {
        {"!Type:Bank\n", "Bank Account"},       {"!Type:Cash\r\n", "Cash Account"},
        {"!Type:CCard\r", "Credit Card Account"}, {"!Type:Invst\n", "Investment Account"},
        {"!Type:Oth A\n", "Asset Account"},     {"!Type:Oth L\n", "Liability Account"}};
    for (const auto& [header, kind] : kinds) {
        parser.setQifString(QString::fromLatin1(header));
        EXPECT_EQ(parser.QIFType(), QString::fromLatin1(kind)) << header;
    }
    for (const char* other : {"!type:bank\n", "!Type:Bank \n", "!Type:Bank", "!Account\n"}) {
        parser.setQifString(QString::fromLatin1(other));
        EXPECT_FALSE(parser.QIFType()) << other;
    }
}

TEST_F(QIFParserTest, ReadsTheBankFilesOfTheTestData)
{
    const QStringList checking = describeAll(read(dataFile("checking-crlf.qif")));
    EXPECT_EQ(checking,
              QStringList({QStringLiteral("Amount=-1234.56|Category=Housing:Rent|Cleared Status=X|Date=2008-01-05 00:00|"
                                          "Memo=Monthly rent|Payee=Rent January|Reference Number=1043"),
                           QStringLiteral("Amount=1234.56|Category=Income:Salary|Date=2008-01-12 00:00|"
                                          "Payee=Salary ACME Corp"),
                           QStringLiteral("Address=Springfield|Amount=-85.20|Category=Groceries|"
                                          "Category Split=Groceries:Household|Date=2008-01-15 00:00|"
                                          "Dollar Amount Split=-25.20|Memo=Household part|Payee=Grocery Mart"),
                           QStringLiteral("Amount=-4.50|Date=2008-02-01 00:00")}));
    EXPECT_EQ(describeAll(read(dataFile("no-caret.qif"))),
              QStringList({QStringLiteral("Amount=-7.00|Date=2008-03-02 00:00|Payee=Bakery")}));
}
