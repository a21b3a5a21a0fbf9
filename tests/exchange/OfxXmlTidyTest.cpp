#include "exchange/OfxXmlTidy.h"

#include <gtest/gtest.h>

using namespace qf;

TEST(OfxXmlTidy, PrintsOneElementPerLineAndKeepsTextEscaped)
{
    auto printed = OfxXmlTidy::prettyPrint(
        u"OFXHEADER:100\r\nDATA:OFXSGML\r\n\r\n<?xml version=\"1.0\"?><!-- note --><A>\n  <B k=\"1&amp;2\">x &amp; y</B><C/>"
        u"<D>two\r\nlines</D><E>text <I>in</I> line</E>tail</A>");
    ASSERT_TRUE(printed.isOk()) << printed.message().toStdString();
    EXPECT_EQ(*printed, QStringLiteral("<A>\n<B k=\"1&amp;2\">x &amp; y</B>\n<C></C>\n<D>two&#10;lines</D>\n"
                                       "<E>text <I>in</I> line</E>\ntail\n</A>\n"));
    // A document cut short keeps what it read, the text of a value cut off included.
    auto cut = OfxXmlTidy::prettyPrint(u"<A><B>1</B><C>2</C><D>3</");
    ASSERT_TRUE(cut.isOk());
    EXPECT_EQ(*cut, QStringLiteral("<A>\n<B>1</B>\n<C>2</C>\n<D>3\n"));
    // The file was read as UTF-8; a declaration naming another encoding changes nothing.
    auto declared = OfxXmlTidy::prettyPrint(QByteArrayView("<?xml version=\"1.0\" encoding=\"ISO-8859-1\"?>\n"
                                                           "<NAME>B\xC3\xA4" "ckerei</NAME>"));
    ASSERT_TRUE(declared.isOk());
    EXPECT_EQ(*declared, QStringLiteral("<NAME>Bäckerei</NAME>\n"));
    auto nothing = OfxXmlTidy::prettyPrint(u"no markup at all");
    ASSERT_TRUE(nothing.isOk());
    EXPECT_TRUE(nothing->isEmpty());
}
