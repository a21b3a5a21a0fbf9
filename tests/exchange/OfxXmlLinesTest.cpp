#include "exchange/OfxStatementReader.h"
#include "exchange/OfxXmlTidy.h"

#include "support/PinnedZone.h"

#include <QFile>
#include <QTemporaryDir>
#include <gtest/gtest.h>

using namespace qf;

namespace {

class OfxXmlLinesTest : public qf::testing::PinnedZoneTest {};

// The statement's records read the slow way: the whole printed text first.
OfxStatementReader::Records fromWholeText(OfxStatementReader& reader, QStringView document)
{
    auto printed = OfxXmlTidy::prettyPrint(document);
    EXPECT_TRUE(printed.isOk()) << printed.message().toStdString();
    if (!printed)
        return {};
    const QStringView list = OfxStatementReader::bankTransactionList(*printed);
    if (list.isNull())
        return {};
    return reader.processTransArray(OfxStatementReader::transactionTexts(list));
}

QString textOf(const ValueDictionary& record, const char* key)
{
    auto found = record.find(QLatin1String(key));
    return found == record.end() ? QStringLiteral("(none)") : found->second.toString();
}

} // namespace

TEST_F(OfxXmlLinesTest, LinesReadAsTheyArePrintedGiveWhatTheWholeTextGives)
{
    // Documents whose markers fall inside lines, at their ends, or not at all.
    const char16_t* documents[] = {
        // A transaction inside a name kept on one line.
        u"<OFX><BANKTRANLIST><STMTTRN><TRNTYPE>A</TRNTYPE><NAME>x <STMTTRN>y</STMTTRN> z</NAME>"
        u"<FITID>1</FITID></STMTTRN></BANKTRANLIST></OFX>",
        // A transaction holding only text, with spaces the line loses at its end.
        u"<OFX><BANKTRANLIST><STMTTRN> t </STMTTRN><STMTTRN><TRNTYPE>B</TRNTYPE></STMTTRN></BANKTRANLIST></OFX>",
        // The list as a single value, and a list nested in the list.
        u"<OFX><BANKTRANLIST>text</BANKTRANLIST><TRNTYPE>C</TRNTYPE></OFX>",
        u"<OFX><BANKTRANLIST><STMTTRN><TRNTYPE>D</TRNTYPE><X><BANKTRANLIST>in</BANKTRANLIST></X>"
        u"<FITID>2</FITID></STMTTRN></BANKTRANLIST></OFX>",
        // Attributes, text behind children, a line separator inside a value.
        u"<OFX><BANKTRANLIST a=\"1\"><STMTTRN k=\"&amp;\"><TRNTYPE>E</TRNTYPE>tail<MEMO>one\u2028<X>two</X></MEMO>"
        u"</STMTTRN></BANKTRANLIST><BANKTRANLIST><STMTTRN><TRNTYPE>F</TRNTYPE><NAME>a\u2029b</NAME></STMTTRN>"
        u"</BANKTRANLIST></OFX>",
        // Cut inside a transaction, once in a value and once between tags.
        u"<OFX><BANKTRANLIST><STMTTRN><TRNTYPE>G</TRNTYPE></STMTTRN><STMTTRN><TRNTYPE>H</TRNTYPE><NAME>Cut sh",
        u"<OFX><BANKTRANLIST><STMTTRN><TRNTYPE>I</TRNTYPE><MEMO>  ",
        // No list at all.
        u"<OFX><STMTTRN><TRNTYPE>J</TRNTYPE></STMTTRN></OFX>",
    };
    for (const char16_t* document : documents) {
        OfxStatementReader reader;
        auto streamed = reader.readText(document);
        ASSERT_TRUE(streamed.isOk()) << streamed.message().toStdString();
        EXPECT_EQ(*streamed, fromWholeText(reader, document)) << QStringView(document).toString().toStdString();
    }

    // A few of them spelled out, so that both ways cannot be wrong alike.
    OfxStatementReader reader;
    auto inName = reader.readText(documents[0]);
    ASSERT_TRUE(inName.isOk());
    // The inner <STMTTRN> opens while the outer one is open, so it starts
    // the next transaction, and what follows the inner end tag a third.
    ASSERT_EQ(inName->size(), 3u);
    EXPECT_EQ(textOf((*inName)[0], "Payee"), QStringLiteral("x"));
    EXPECT_EQ(textOf((*inName)[0], "STMTTRN"), QString());
    EXPECT_EQ(textOf((*inName)[1], "STMTTRN"), QStringLiteral("y"));
    EXPECT_EQ(textOf((*inName)[2], "QIFUniqueID"), QStringLiteral("1"));
    auto onlyText = reader.readText(documents[1]);
    ASSERT_TRUE(onlyText.isOk());
    ASSERT_EQ(onlyText->size(), 2u);
    EXPECT_EQ(textOf((*onlyText)[0], "STMTTRN"), QStringLiteral(" t"));
    auto valueList = reader.readText(documents[2]);
    ASSERT_TRUE(valueList.isOk());
    EXPECT_TRUE(valueList->empty());
    auto cut = reader.readText(documents[6]);
    ASSERT_TRUE(cut.isOk());
    ASSERT_EQ(cut->size(), 1u);
    EXPECT_EQ(textOf(cut->front(), "MEMO"), QString());
}

TEST_F(OfxXmlLinesTest, ARepairedStatementDropsTheLinesOfTheFirstAttempt)
{
    // The first attempt reads one whole transaction before the value left
    // open stops it; the repaired text reads both, each once.
    OfxStatementReader reader;
    auto records = reader.readText(u"<OFX><BANKTRANLIST><STMTTRN><TRNTYPE>DEBIT</TRNTYPE><FITID>1</FITID></STMTTRN>"
                                   u"<STMTTRN><TRNTYPE>CREDIT</TRNTYPE><NAME>Open<FITID>2</FITID></STMTTRN>"
                                   u"</BANKTRANLIST></OFX>");
    ASSERT_TRUE(records.isOk()) << records.message().toStdString();
    ASSERT_EQ(records->size(), 2u);
    EXPECT_EQ(textOf((*records)[0], "QIFUniqueID"), QStringLiteral("1"));
    EXPECT_EQ(textOf((*records)[1], "Payee"), QStringLiteral("Open"));
    EXPECT_EQ(textOf((*records)[1], "QIFUniqueID"), QStringLiteral("2"));
}

TEST_F(OfxXmlLinesTest, NothingOutsideTheFileIsReadAndDeepNestingStopsWhereItStarts)
{
    QTemporaryDir dir;
    ASSERT_TRUE(dir.isValid());
    QFile secret(dir.filePath(QStringLiteral("secret.txt")));
    ASSERT_TRUE(secret.open(QIODevice::WriteOnly));
    secret.write("SECRET-CONTENT");
    secret.close();
    const QString document = QStringLiteral("<!DOCTYPE OFX [<!ENTITY leak SYSTEM \"file://%1\">]>"
                                            "<OFX><BANKTRANLIST><STMTTRN><TRNTYPE>DEBIT</TRNTYPE><NAME>&leak;</NAME>"
                                            "</STMTTRN></BANKTRANLIST></OFX>")
                                 .arg(secret.fileName());
    OfxStatementReader reader;
    // Declarations are not read, so the reference names no entity XML knows
    // and the repair keeps it as text.
    auto records = reader.readText(document);
    ASSERT_TRUE(records.isOk()) << records.message().toStdString();
    ASSERT_EQ(records->size(), 1u);
    EXPECT_EQ(textOf(records->front(), "Payee"), QStringLiteral("&leak;"));
    auto printed = OfxXmlTidy::prettyPrint(document);
    ASSERT_TRUE(printed.isOk());
    EXPECT_FALSE(printed->contains(QStringLiteral("SECRET")));

    // The 65th <A> opens at character 192 of the header-free text and 202 behind a header.
    QString deep = QStringLiteral("<TRNTYPE>X</TRNTYPE>");
    for (int i = 0; i < 100; ++i)
        deep = QStringLiteral("<A>") + deep + QStringLiteral("</A>");
    for (const QString& text : {deep, QString(QStringLiteral("HEADER:1\r\n") + deep)}) {
        auto tooDeep = reader.readText(text);
        ASSERT_FALSE(tooDeep.isOk());
        const int start = text.indexOf(u'<') + OfxXmlTidy::kMaxDepth * 3;
        EXPECT_GE(tooDeep.error().position, start);
        EXPECT_LE(tooDeep.error().position, start + 3);
    }
}
