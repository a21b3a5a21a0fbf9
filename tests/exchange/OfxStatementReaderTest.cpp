#include "exchange/OfxStatementReader.h"

#include "support/PinnedZone.h"

#include <QStringList>
#include <gtest/gtest.h>

using namespace qf;
using qf::testing::berlinTime;
using qf::testing::inBerlin;

namespace {

QString dataPath(const char* name)
{
    return QStringLiteral(QUILLFEN_TEST_DATA_DIR "/ofx/") + QLatin1String(name);
}

// One record as "key=value" pairs in key order, dates as their Berlin day.
QString describe(const ValueDictionary& record)
{
    QStringList parts;
    for (const auto& [key, value] : record) {
        QString shown;
        if (value.type() == Value::Type::Date)
            shown = inBerlin(value.toDate()).toString(QStringLiteral("yyyy-MM-dd hh:mm"));
        else if (value.type() == Value::Type::Double)
            shown = QString::number(value.toDouble(), 'g', 12);
        else
            shown = value.toString();
        parts << key + u'=' + shown;
    }
    return parts.join(QStringLiteral("; "));
}

QStringList describe(const OfxStatementReader::Records& records)
{
    QStringList lines;
    for (const ValueDictionary& record : records)
        lines << describe(record);
    return lines;
}

QStringList readFile(const char* name)
{
    OfxStatementReader reader;
    auto records = reader.readFile(dataPath(name));
    EXPECT_TRUE(records.isOk()) << name << ": " << records.message().toStdString();
    return records ? describe(*records) : QStringList{QStringLiteral("error: ") + records.message()};
}

const QStringList kCheckingRecords{
    QStringLiteral("Amount=-42.17; DTEND=20240131; DTSTART=20240101; Date=2024-01-05 00:00; MEMO=Autopay <Jan>; "
                   "Payee=AT&T WIRELESS; QIFUniqueID=2024010500001; STMTTRN=; TRNTYPE=DEBIT"),
    QStringLiteral("Amount=2500; Date=2024-01-15 00:00; Payee=ACME PAYROLL; QIFUniqueID=2024011500002; STMTTRN=; "
                   "TRNTYPE=CREDIT"),
    QStringLiteral("Amount=-120.5; CHECKNUM=1042; Date=2024-01-31 00:00; MEMO=Check 1042; Payee=CITY WATER & SEWER; "
                   "QIFUniqueID=2024013100003; STMTTRN=; TRNTYPE=CHECK"),
};

class OfxStatementReaderTest : public qf::testing::PinnedZoneTest {};

} // namespace

TEST_F(OfxStatementReaderTest, BothFormsOfOneStatementGiveTheSameRecords)
{
    // CRLF lines, an SGML header, values without end tags, entities, and
    // posting times with zones that would move the day if they were used.
    EXPECT_EQ(readFile("sgml-checking.ofx"), kCheckingRecords);
    // The XML form with an <?OFX?> header, partly run together on one line.
    EXPECT_EQ(readFile("xml-checking.ofx"), kCheckingRecords);
}

TEST_F(OfxStatementReaderTest, QuirkyFilesReadWhatTheyHold)
{
    // Values closed on some lines and not on others, comma decimals, and a
    // download that stops before the statement's end tags.
    EXPECT_EQ(readFile("card-unclosed.qfx"),
              (QStringList{QStringLiteral("Amount=-8.9; DTEND=20240229; DTSTART=20240201; Date=2024-02-03 00:00; "
                                          "MEMO=Kartenzahlung; Payee=Bäckerei Müller; QIFUniqueID=CC-0203-1; "
                                          "STMTTRN=; TRNTYPE=DEBIT"),
                           QStringLiteral("Amount=1250; Date=2024-02-29 00:00; Payee=Rückzahlung R&V; "
                                          "QIFUniqueID=CC-0229-2; STMTTRN=; TRNTYPE=CREDIT")}));

    // Only the first account's list of a two-account download.
    EXPECT_EQ(readFile("two-statements.ofx"),
              QStringList{QStringLiteral("Amount=-15; DTEND=20240430; DTSTART=20240401; Date=2024-04-02 00:00; "
                                         "Payee=FIRST ACCOUNT; QIFUniqueID=CHK-1; STMTTRN=; TRNTYPE=DEBIT")});

    // Escaped, CDATA and nested markup in names come out as text; a line
    // break inside a value stays in it.
    EXPECT_EQ(readFile("angle-names.ofx"),
              (QStringList{QStringLiteral("Amount=-3.5; Date=2024-05-10 00:00; Payee=SHOP <ONLINE> 24; "
                                          "QIFUniqueID=A1; STMTTRN=; TRNTYPE=DEBIT"),
                           QStringLiteral("Amount=-4; Date=2024-05-11 00:00; Payee=R&D <LAB> CAFE; QIFUniqueID=A2; "
                                          "STMTTRN=; TRNTYPE=DEBIT"),
                           QStringLiteral("Amount=-5.25; Date=2024-05-12 00:00; MEMO=line one\nline two; "
                                          "Payee=CAFE <B>LUNA</B>; QIFUniqueID=A3; STMTTRN=; TRNTYPE=DEBIT")}));

    // A cut-off download offers the part of the transaction it got.
    EXPECT_EQ(readFile("truncated.ofx"),
              (QStringList{kCheckingRecords[0],
                           QStringLiteral("Amount=2500; Date=2024-01-15 00:00; QIFUniqueID=2024011; STMTTRN=; "
                                          "TRNTYPE=CREDIT")}));
    EXPECT_EQ(readFile("empty.ofx"), QStringList());
}

TEST_F(OfxStatementReaderTest, StatementsAsBanksSendThemReadEveryTransaction)
{
    // The whole file on one line, values never closed.
    EXPECT_EQ(readFile("one-line.ofx"),
              (QStringList{QStringLiteral("Amount=-64.2; DTEND=20260131; DTSTART=20260101; Date=2026-01-03 00:00; "
                                          "MEMO=POS PURCHASE; Payee=PINE STREET GROCERS; QIFUniqueID=HCU-0103-01; "
                                          "STMTTRN=; TRNTYPE=DEBIT"),
                           QStringLiteral("Amount=1875; Date=2026-01-15 00:00; Payee=NORTHWIND LOGISTICS PAYROLL; "
                                          "QIFUniqueID=HCU-0115-02; STMTTRN=; TRNTYPE=CREDIT"),
                           QStringLiteral("Amount=-300; CHECKNUM=2051; Date=2026-01-22 00:00; "
                                          "Payee=MAPLE COURT RENTALS; QIFUniqueID=HCU-0122-03; STMTTRN=; "
                                          "TRNTYPE=CHECK")}));
    // Values inside each other, a transaction to a line or indented step by
    // step, bare "&", and one </STMTTRN> left out.
    EXPECT_EQ(readFile("staircase.qfx"),
              (QStringList{QStringLiteral("Amount=-12.5; DTEND=20260131; DTSTART=20260101; Date=2026-01-05 00:00; "
                                          "MEMO=AUTOPAY; Payee=AT&T MOBILITY; QIFUniqueID=BSB-2601-001; STMTTRN=; "
                                          "TRNTYPE=DEBIT"),
                           QStringLiteral("Amount=-48.75; Date=2026-01-09 00:00; Payee=RIVERBEND HARDWARE; "
                                          "QIFUniqueID=BSB-2601-002; STMTTRN=; TRNTYPE=DEBIT"),
                           QStringLiteral("Amount=-7.4; Date=2026-01-17 00:00; Payee=LANTERN COFFEE & TEA; "
                                          "QIFUniqueID=BSB-2601-003; STMTTRN=; TRNTYPE=DEBIT"),
                           QStringLiteral("Amount=150; Date=2026-01-28 00:00; Payee=PAYMENT THANK YOU; "
                                          "QIFUniqueID=BSB-2601-004; STMTTRN=; TRNTYPE=CREDIT")}));
    // Comments between transactions, around a whole one, and inside values.
    EXPECT_EQ(readFile("commented.ofx"),
              (QStringList{QStringLiteral("Amount=-23.99; DTEND=20260331; DTSTART=20260301; Date=2026-03-02 00:00; "
                                          "Payee=ORCHARD BOOKS; QIFUniqueID=FCB-0302; STMTTRN=; TRNTYPE=DEBIT"),
                           QStringLiteral("Amount=42; Date=2026-03-16 00:00; Payee=GREENFIELD REFUND; "
                                          "QIFUniqueID=FCB-0316; STMTTRN=; TRNTYPE=CREDIT")}));
    // No </BANKTRANLIST>: the balances behind the last transaction are none.
    EXPECT_EQ(readFile("missing-end.ofx"),
              (QStringList{QStringLiteral("Amount=-135; DTEND=20260430; DTSTART=20260401; Date=2026-04-08 00:00; "
                                          "Payee=SUNRISE DENTAL; QIFUniqueID=LNB-408; STMTTRN=; TRNTYPE=DEBIT"),
                           QStringLiteral("Amount=-61.32; Date=2026-04-20 00:00; Payee=CITY OF ELMWOOD WATER; "
                                          "QIFUniqueID=LNB-420; STMTTRN=; TRNTYPE=DEBIT")}));
}

TEST_F(OfxStatementReaderTest, XmlThatIsNotWellFormedIsRepairedNotRefused)
{
    // Bare "&" beside escaped ones, a value closed by the wrong end tag and
    // a transaction by a misspelt one.
    EXPECT_EQ(readFile("xml-repair.ofx"),
              (QStringList{QStringLiteral("Amount=-89.99; DTEND=20260430; DTSTART=20260401; Date=2026-04-04 00:00; "
                                          "Payee=AT&T U-VERSE; QIFUniqueID=CL-404; STMTTRN=; TRNTYPE=DEBIT"),
                           QStringLiteral("Amount=-210; Date=2026-04-11 00:00; Payee=HILLTOP B&B; QIFUniqueID=CL-411; "
                                          "STMTTRN=; TRNTYPE=DEBIT"),
                           QStringLiteral("Amount=64.1; Date=2026-04-25 00:00; MEMO=Ref #7781 & more; "
                                          "Payee=SMITH & SONS & CO REBATE; QIFUniqueID=CL-425; STMTTRN=; "
                                          "TRNTYPE=CREDIT")}));
    // Both forms in one file, comments, a </STMTTRN> and the </BANKTRANLIST> left out.
    EXPECT_EQ(readFile("mixed.qfx"),
              (QStringList{QStringLiteral("Amount=-19.9; DTEND=20260531; DTSTART=20260501; Date=2026-05-04 00:00; "
                                          "Payee=Strom & Gas Nordwerk; QIFUniqueID=WB-0504; STMTTRN=; TRNTYPE=DEBIT"),
                           QStringLiteral("Amount=-4.35; Date=2026-05-12 00:00; MEMO=Kartenzahlung; "
                                          "Payee=Bäckerei Kornblume; QIFUniqueID=WB-0512; STMTTRN=; TRNTYPE=DEBIT"),
                           QStringLiteral("Amount=2340; Date=2026-05-29 00:00; Payee=Gehalt Mai; QIFUniqueID=WB-0529; "
                                          "STMTTRN=; TRNTYPE=CREDIT"),
                           QStringLiteral("Amount=-7.5; Date=2026-05-31 00:00; Payee=Kontoführung; "
                                          "QIFUniqueID=WB-0531; STMTTRN=; TRNTYPE=DEBIT")}));

    // Aggregates that cross: the list's end tag closes the transaction.
    OfxStatementReader reader;
    auto crossed = reader.readText(u"<OFX><BANKTRANLIST><STMTTRN><TRNTYPE>DEBIT</TRNTYPE></BANKTRANLIST></STMTTRN></OFX>");
    ASSERT_TRUE(crossed.isOk()) << crossed.message().toStdString();
    EXPECT_EQ(describe(*crossed), QStringList{QStringLiteral("STMTTRN=; TRNTYPE=DEBIT")});
}

TEST_F(OfxStatementReaderTest, UnreadableInputIsAnErrorWithItsPosition)
{
    OfxStatementReader reader;
    auto latin1 = reader.readFile(dataPath("latin1.ofx"));
    ASSERT_FALSE(latin1.isOk());
    EXPECT_EQ(latin1.error().message, QStringLiteral("The statement is not UTF-8 text"));
    EXPECT_EQ(latin1.error().position, 82);

    auto missing = reader.readFile(dataPath("no-such-file.ofx"));
    ASSERT_FALSE(missing.isOk());
    EXPECT_TRUE(missing.message().startsWith(QStringLiteral("Could not read “no-such-file.ofx”")));

    QString deep = QStringLiteral("<TRNTYPE>X</TRNTYPE>");
    for (int i = 0; i < 100; ++i)
        deep = QStringLiteral("<A>") + deep + QStringLiteral("</A>");
    auto tooDeep = reader.readText(deep);
    ASSERT_FALSE(tooDeep.isOk());
    EXPECT_TRUE(tooDeep.error().message.contains(QStringLiteral("nested")));

    // A byte-order mark is no error, nor is a file without a statement.
    auto bom = reader.readData("\xEF\xBB\xBF<BANKTRANLIST><NAME>X</BANKTRANLIST>");
    ASSERT_TRUE(bom.isOk());
    ASSERT_EQ(bom->size(), 1u);
    auto none = reader.readData("OFXHEADER:100\r\n\r\n<OFX><SIGNONMSGSRSV1></SIGNONMSGSRSV1></OFX>");
    ASSERT_TRUE(none.isOk());
    EXPECT_TRUE(none->empty());
}

TEST_F(OfxStatementReaderTest, ValueRuleCutsAtTheLastOpeningBracketBehindTheTag)
{
    using R = OfxStatementReader;
    EXPECT_EQ(R::typeFromLine(u"<NAME>Plain"), u"NAME");
    EXPECT_EQ(R::valueFromLine(u"<NAME>Plain"), u"Plain");
    EXPECT_EQ(R::valueFromLine(u"<NAME>Plain</NAME>"), u"Plain");
    EXPECT_EQ(R::valueFromLine(u"<NAME>A <B> C</NAME>"), u"A <B> C");
    EXPECT_EQ(R::valueFromLine(u"<NAME>Ends with <"), u"Ends with ");
    EXPECT_EQ(R::valueFromLine(u"<MEMO>"), u"");
    EXPECT_TRUE(R::typeFromLine(u"no tag here").isEmpty());
    EXPECT_TRUE(R::typeFromLine(u"a>b<C").isEmpty());
    EXPECT_TRUE(R::typeFromLine(u"<>empty").isEmpty());

    OfxStatementReader reader;
    const ValueDictionary record = reader.processTransString(
        u"  <NAME>First\r\n<NAME>Second</NAME>\rstray text\n<>x\u2028<MEMO>\n</PAYEE>\n");
    EXPECT_EQ(describe(record), QStringLiteral("/PAYEE=; MEMO=; Payee=Second"));
    EXPECT_TRUE(reader.processTransString(u"\r\n  \n text without tags \n").empty());
}

TEST_F(OfxStatementReaderTest, DatesTakeTheDayAndIgnoreTimeAndZone)
{
    OfxStatementReader reader;
    for (const char16_t* text : {u"20240105", u"20240105120000", u"20240105120000.000[-5:EST]",
                                 u"20240105235959[+14:LINT]", u" 20240105 "}) {
        auto date = reader.parseDate(text);
        ASSERT_TRUE(date) << QStringView(text).toString().toStdString();
        EXPECT_EQ(*date, berlinTime(2024, 1, 5));
    }
    EXPECT_EQ(reader.parseDate(u"20240331"), berlinTime(2024, 3, 31)); // the day clocks go forward
    for (const char16_t* text : {u"2024010", u"2024-01-05", u"20240230", u"20241301", u"", u"ABCDEFGH"})
        EXPECT_FALSE(reader.parseDate(text)) << QStringView(text).toString().toStdString();
    // A cached day stays a failure when asked again.
    EXPECT_FALSE(reader.parseDate(u"20240230000000"));
}

TEST_F(OfxStatementReaderTest, AmountsReadDecimalsOfEitherMark)
{
    using R = OfxStatementReader;
    const std::pair<const char16_t*, double> good[] = {
        {u"-42.17", -42.17}, {u"+12", 12}, {u" 2500.00 ", 2500}, {u"-8,90", -8.9}, {u".5", 0.5},
        {u"1,234.56", 1234.56}, {u"1.234,56", 1234.56}, {u"1,234,567", 1234567}, {u"-0.00", -0.0}};
    for (const auto& [text, expected] : good) {
        auto amount = R::parseAmount(text);
        ASSERT_TRUE(amount) << QStringView(text).toString().toStdString();
        EXPECT_DOUBLE_EQ(*amount, expected) << QStringView(text).toString().toStdString();
    }
    for (const char16_t* text : {u"--", u"", u"-", u"12.3.4", u"1,23.5", u"12-", u"$12.00", u"1e5", u"1.234.5,6,7",
                                 u"12 34", u".", u",5,"})
        EXPECT_FALSE(R::parseAmount(text)) << QStringView(text).toString().toStdString();
}

TEST_F(OfxStatementReaderTest, UnparsableDatesAndAmountsStoreNothing)
{
    OfxStatementReader reader;
    const ValueDictionary record = reader.processTransString(
        u"<DTPOSTED>20240105\n<TRNAMT>1.00\n<DTPOSTED>2024-01-06\n<TRNAMT>N/A\n<FITID>X\n");
    // The bad later values leave the good earlier ones in place.
    EXPECT_EQ(describe(record), QStringLiteral("Amount=1; Date=2024-01-05 00:00; QIFUniqueID=X"));
    auto records = reader.readText(u"<BANKTRANLIST><STMTTRN>\n<DTPOSTED>bad\n<TRNAMT>bad\n</STMTTRN>\n"
                                   u"<DTPOSTED>bad\n<TRNAMT>--\n</BANKTRANLIST>");
    ASSERT_TRUE(records.isOk());
    // The first piece keeps its STMTTRN entry; the piece behind it is left empty and dropped.
    EXPECT_EQ(describe(*records), QStringList({QStringLiteral("STMTTRN=")}));
}

TEST_F(OfxStatementReaderTest, EntitiesAreDecodedOnce)
{
    using R = OfxStatementReader;
    EXPECT_EQ(R::decodeEntities(u"AT&amp;T &lt;x&gt; &quot;q&quot; &apos;a&apos;"), QStringLiteral("AT&T <x> \"q\" 'a'"));
    EXPECT_EQ(R::decodeEntities(u"&amp;lt;"), QStringLiteral("&lt;"));
    EXPECT_EQ(R::decodeEntities(u"&#65;&#x42;&#X43; &#x1F4B6;"), QStringLiteral("ABC \U0001F4B6"));
    EXPECT_EQ(R::decodeEntities(u"AT&T & Co; &nbsp; &#0; &#xD800; &#;"),
              QStringLiteral("AT&T & Co; &nbsp; &#0; &#xD800; &#;"));
    EXPECT_EQ(R::decodeEntities(u"tail &amp"), QStringLiteral("tail &amp"));
}
