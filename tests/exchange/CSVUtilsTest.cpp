#include "common/QFNSStringCategory.h"
#include "exchange/CSVColumnMapping.h"
#include "exchange/CSVUtils.h"

#include <gtest/gtest.h>

using namespace qf;

namespace {

// Cells joined by "|", rows by "/", so a whole reading compares at once.
QString dump(const QList<QStringList>& rows)
{
    QStringList joined;
    for (const QStringList& row : rows)
        joined << row.join(QLatin1Char('|'));
    return joined.join(QLatin1Char('/'));
}

QString line(const char* text, CSVUtils::Whitespace whitespace = CSVUtils::Whitespace::Remove)
{
    return CSVUtils::arrayByImportingCSV_line(QString::fromUtf8(text), whitespace).join(QLatin1Char('|'));
}

QString mapping(const char* text, CSVColumnMapping::Header header)
{
    QStringList rows;
    for (const CSVMappingRow& row : CSVColumnMapping::parseCSVString(QString::fromUtf8(text), header))
        rows << QStringLiteral("%1:%2:%3:%4")
                    .arg(row.shouldImport ? "yes" : "no", row.importAs, row.columnValue.toString(), row.rowValue);
    return rows.join(QLatin1Char('/'));
}

} // namespace

TEST(CSVUtils, LineSplitsAtCommasAndJoinsQuotedFieldsWithCommas)
{
    EXPECT_EQ(line("a,\"b,c\",d"), QStringLiteral("a|b,c|d"));
    EXPECT_EQ(line("a,\"b\",d"), QStringLiteral("a|\"b\"|d")); // quoted without a comma keeps its quotes
    EXPECT_EQ(line("a,\"b,c"), QStringLiteral("a"));           // open at the end: dropped
    EXPECT_EQ(line("\"x,y,z\",2"), QStringLiteral("x,y,z|2"));
    // A doubled quote is no escape: the first piece ends with a quote, so it is a cell of its own.
    EXPECT_EQ(line("\"say \"\"hi\"\", ok\",1"), QStringLiteral("\"say \"\"hi\"\"|ok\"|1"));
    EXPECT_EQ(line("a,,c,"), QStringLiteral("a||c|"));
    EXPECT_EQ(CSVUtils::arrayByImportingCSV_line(u"", CSVUtils::Whitespace::Remove), QStringList{QString()});
}

TEST(CSVUtils, WhitespaceIsTrimmedOnlyWhenAsked)
{
    EXPECT_EQ(line(" a , \"b, c \" ,d\t", CSVUtils::Whitespace::Remove), QStringLiteral("a|\"b|c \"|d"));
    EXPECT_EQ(line(" a ,\"b, c \",d\t", CSVUtils::Whitespace::Keep), QStringLiteral(" a |b, c |d\t"));
    EXPECT_EQ(line("\" padded , x \"", CSVUtils::Whitespace::Remove), QStringLiteral("padded , x"));
}

TEST(CSVUtils, TextBecomesOneRowPerNonBlankLine)
{
    EXPECT_EQ(dump(CSVUtils::arrayByImportingCSV(u"Title,Date,Amount\r\n  Rent,1/2/24,\"$1,000.00\"\r\n\r\n\n"
                                                 u"Coffee , 1/3/24 ,-3\rLast,x")),
              QStringLiteral("Title|Date|Amount/Rent|1/2/24|$1,000.00/Coffee|1/3/24|-3/Last|x"));
    // A line that is one open quoted field is a row without cells, not no row.
    EXPECT_EQ(CSVUtils::arrayByImportingCSV(u"a\n\"x\" , \"open,\nb"), QList<QStringList>({{"a"}, {}, {"b"}}));
    EXPECT_TRUE(CSVUtils::arrayByImportingCSV(u"").isEmpty());
    EXPECT_TRUE(CSVUtils::arrayByImportingCSV(u" \r\n\t\n").isEmpty());
}

TEST(CSVUtils, MappingRowsTakeTheSecondRowUnlessTheFirstIsAHeader)
{
    const char* text = "Title,Date,Amount\nRent,1/2/24,-900\nCoffee,1/3/24,-3\n";
    EXPECT_EQ(mapping(text, CSVColumnMapping::Header::FirstLine),
              QStringLiteral("yes:Do not import:Title:Title/yes:Do not import:Date:Date/yes:Do not import:Amount:Amount"));
    EXPECT_EQ(mapping(text, CSVColumnMapping::Header::Absent),
              QStringLiteral("yes:Do not import:1:Rent/yes:Do not import:2:1/2/24/yes:Do not import:3:-900"));
    const auto rows = CSVColumnMapping::parseCSVString(u"a,b\nc,d", CSVColumnMapping::Header::Absent);
    ASSERT_EQ(rows.size(), 2u);
    EXPECT_EQ(rows[1].columnValue.type(), Value::Type::Int);

    EXPECT_EQ(mapping("only,one,row", CSVColumnMapping::Header::Absent), QString());
    EXPECT_EQ(mapping("only,one,row", CSVColumnMapping::Header::FirstLine), QStringLiteral("yes:Do not import:only:only/"
                                                                                          "yes:Do not import:one:one/"
                                                                                          "yes:Do not import:row:row"));
    EXPECT_EQ(mapping("", CSVColumnMapping::Header::FirstLine), QString());
    EXPECT_EQ(CSVColumnMapping::importAsValues(),
              QStringList({"Do not import", "Title", "Date", "Amount", "To", "From", "Add as Tag", "Add to Notes"}));
}

TEST(CSVUtils, PlainTableOperationsOfTheStringGroup)
{
    using S = QFNSStringCategory;
    EXPECT_EQ(S::CSVStringFromArray({{"a", "b,c"}, {}, {"d"}}), QStringLiteral("a,b,c\r\rd\r"));
    EXPECT_EQ(S::CSVStringFromArray({}), QString());

    EXPECT_EQ(S::columnsFromCSVString(QStringLiteral("a,b,\"c,d\"\r\ne")), 4);
    EXPECT_EQ(S::columnsFromCSVString(QStringLiteral("\nx,y")), 1);
    EXPECT_EQ(S::columnsFromCSVString(QString()), 1);

    const QString table = QStringLiteral("Name, Amount\r\n\"Rent\", \"900\"\r\n\r\nCoffee,\nTea, 4\n");
    EXPECT_EQ(S::valuesFromCSVStringFromColumn(table, 2, S::CSVHeader::FirstLine), QStringList({"900", "4"}));
    EXPECT_EQ(S::valuesFromCSVStringFromColumn(table, 2, S::CSVHeader::Absent), QStringList({"Amount", "900", "4"}));
    EXPECT_EQ(S::valuesFromCSVStringFromColumn(table, 1, S::CSVHeader::FirstLine),
              QStringList({"Rent", "Coffee", "Tea"}));
    EXPECT_EQ(S::valuesFromCSVStringFromColumn(QStringLiteral("  two spaces"), 1, S::CSVHeader::Absent),
              QStringList({" two spaces"}));
    EXPECT_FALSE(S::valuesFromCSVStringFromColumn(table, 3, S::CSVHeader::FirstLine).has_value());
    EXPECT_FALSE(S::valuesFromCSVStringFromColumn(table, 0, S::CSVHeader::Absent).has_value());
}
