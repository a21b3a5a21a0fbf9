#include "exchange/OfxStatementReader.h"
#include "exchange/OfxTagLines.h"

#include "support/FileBytes.h"

#include <QStringList>
#include <gtest/gtest.h>

using namespace qf;

TEST(OfxTagLines, AFileWithOneTagPerLineGivesTheLinesItHolds)
{
    for (const char* name : {"sgml-checking.ofx", "truncated.ofx"}) {
        const QString text = QString::fromUtf8(
            qf::test::readFile(QStringLiteral(QUILLFEN_TEST_DATA_DIR "/ofx/") + QLatin1String(name)));
        QString expected;
        for (QStringView line : OfxStatementReader::arrayWithLines(text))
            expected += line + u'\n';
        EXPECT_FALSE(expected.isEmpty());
        EXPECT_EQ(OfxTagLines::print(text), expected) << name;
    }
}

TEST(OfxTagLines, EveryTagStartsALineButAValuesOwnEndTag)
{
    EXPECT_EQ(OfxTagLines::print(u"HEADER:1 <OFX><STMTTRN><TRNTYPE>DEBIT<NAME>AT&T</NAME><MEMO></MEMO>"
                                 u"<TRNAMT>-1</NAME></STMTTRN></BANKTRANLIST>"),
              QStringLiteral("HEADER:1\n<OFX>\n<STMTTRN>\n<TRNTYPE>DEBIT\n<NAME>AT&T</NAME>\n<MEMO></MEMO>\n"
                             "<TRNAMT>-1\n</NAME>\n</STMTTRN>\n</BANKTRANLIST>\n"));
    // Indented steps stay one line each; "<" before no name is text.
    EXPECT_EQ(OfxTagLines::print(u"<A>\r\n  <B>1\r\n    <C>a < b <> <3<?pi?><!DOCTYPE x>"),
              QStringLiteral("<A>\n<B>1\n<C>a < b <> <3\n<?pi?>\n<!DOCTYPE x>\n"));
    EXPECT_EQ(OfxTagLines::print(u"  \n\u2028<A>x\u2029<B>"), QStringLiteral("<A>x\n<B>\n"));
}

TEST(OfxTagLines, CommentsAreDroppedWhereverTheyStand)
{
    // Between lines, over several, and inside a value, which runs on behind it.
    EXPECT_EQ(OfxTagLines::print(u"<A>1<!-- one -->\n<!--\n<B>2\n-->\n<C>GREEN<!-- x -->FIELD<!---->S <D>4"),
              QStringLiteral("<A>1\n<C>GREENFIELDS\n<D>4\n"));
    // A tag behind a comment on the line still starts a line of its own,
    // and a comment left open runs to the end.
    EXPECT_EQ(OfxTagLines::print(u"  <!-- a --> <A>1<!-- b --><B>2 <!-- c"), QStringLiteral("<A>1\n<B>2\n"));
}
