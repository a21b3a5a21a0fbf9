#include "exchange/OfxXmlRepair.h"

#include <gtest/gtest.h>

using namespace qf;

TEST(OfxXmlRepair, ClosesValuesLeftOpenAndNothingElse)
{
    EXPECT_EQ(OfxXmlRepair::repair("<S><CODE>0<SEV>INFO </S><T>ok</T><U/>\n<V>\n</V>"),
              "<S><CODE>0</CODE><SEV>INFO</SEV> </S><T>ok</T><U/>\n<V>\n</V>");
    EXPECT_EQ(OfxXmlRepair::repair("<N><![CDATA[a>b]]></N><M>x<!-- y --></M><L>end"),
              "<N><![CDATA[a>b]]></N><M>x</M><L>end</L>");
    // Comments are dropped, also from inside a value left open.
    EXPECT_EQ(OfxXmlRepair::repair("<D>1<!-- a -->2\n<!-- b --><S>"), "<D>12</D>\n<S>");
    // A tag left unfinished at the end stays as it is.
    EXPECT_EQ(OfxXmlRepair::repair("<A>1<B"), "<A>1</A><B");
}

TEST(OfxXmlRepair, EscapesBareMarksAndKeepsReferences)
{
    EXPECT_EQ(OfxXmlRepair::repair("<N>AT&T & Co &amp; &lt;&#38;&#x26; &#1; &nbsp; &#xD800; &#12345678901;&</N>"),
              "<N>AT&amp;T &amp; Co &amp; &lt;&#38;&#x26; &amp;#1; &amp;nbsp; &amp;#xD800; "
              "&amp;#12345678901;&amp;</N>");
    EXPECT_EQ(OfxXmlRepair::repair("<N>a < b <3 <</N>"), "<N>a &lt; b &lt;3 &lt;</N>");
}

TEST(OfxXmlRepair, BalancesEndTags)
{
    // A stray end tag goes; one of an outer element closes the inner ones.
    EXPECT_EQ(OfxXmlRepair::repair("<OFX><S><N>x</N></B></S><S><P><N>y</N></OFX></S>"),
              "<OFX><S><N>x</N></S><S><P><N>y</N></P></S></OFX>");
    // A transaction left open ends where the next one starts, and a list
    // without its end tag ends behind its last transaction.
    EXPECT_EQ(OfxXmlRepair::repair("<R><BANKTRANLIST><STMTTRN><N>1</N></STMTTRN><STMTTRN><N>2</N>"
                                   "<STMTTRN><N>3</N></STMTTRN><BAL><A>1</A></BAL></R>"),
              "<R><BANKTRANLIST><STMTTRN><N>1</N></STMTTRN><STMTTRN><N>2</N></STMTTRN>"
              "<STMTTRN><N>3</N></STMTTRN></BANKTRANLIST><BAL><A>1</A></BAL></R>");
    // Without any transaction it ends where its element is closed.
    EXPECT_EQ(OfxXmlRepair::repair("<R><BANKTRANLIST><D>1</D></R>"), "<R><BANKTRANLIST><D>1</D></BANKTRANLIST></R>");
}
