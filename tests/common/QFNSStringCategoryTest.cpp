#include "common/QFNSStringCategory.h"

#include <gtest/gtest.h>

using namespace qf;
using S = QFNSStringCategory;

TEST(QFNSStringCategory, MissingAndEmptyTextsAreNeitherValidNorEqual)
{
    EXPECT_FALSE(S::isValidString(QString()));
    EXPECT_FALSE(S::isValidString(QStringLiteral("")));
    EXPECT_TRUE(S::isValidString(QStringLiteral(" ")));
    EXPECT_TRUE(S::isEmptyString(QString()));
    EXPECT_TRUE(S::isEmptyString(QStringLiteral("")));

    EXPECT_TRUE(S::isEqualToString(QStringLiteral("Rent"), QStringLiteral("rent"), Qt::CaseInsensitive));
    EXPECT_FALSE(S::isEqualToString(QStringLiteral("Rent"), QStringLiteral("rent"), Qt::CaseSensitive));
    EXPECT_FALSE(S::isEqualToString(QString(), QString(), Qt::CaseSensitive));
    EXPECT_FALSE(S::isEqualToString(QStringLiteral(""), QString(), Qt::CaseSensitive));
    EXPECT_TRUE(S::isEqualToString(QStringLiteral(""), QStringLiteral(""), Qt::CaseSensitive));

    EXPECT_TRUE(S::containsSubstring(QStringLiteral("Coffee shop"), u"fee"));
    EXPECT_FALSE(S::containsSubstring(QStringLiteral("Coffee shop"), u""));
    EXPECT_FALSE(S::containsSubstring(QString(), u"a"));
}

TEST(QFNSStringCategory, ReplacementsAreLiteralAndKeepMissingTextsMissing)
{
    EXPECT_EQ(S::replaceString(QStringLiteral("a.b.c"), u".", u"(.)"), QStringLiteral("a(.)b(.)c"));
    EXPECT_EQ(S::replaceString(QStringLiteral("abc"), u"", u"-"), QStringLiteral("abc"));
    EXPECT_TRUE(S::replaceString(QString(), u"a", u"b").isNull());
    EXPECT_EQ(S::replaceSpacesWithString(QStringLiteral("a b  c"), u"+"), QStringLiteral("a+b++c"));
    EXPECT_EQ(S::removeAllSpaces(QStringLiteral("My Bank Statement.pdf")), QStringLiteral("My_Bank_Statement.pdf"));
    EXPECT_EQ(S::makeURLFriendly(QStringLiteral("my file.txt")), QStringLiteral("my%20file.txt"));

    EXPECT_EQ(S::makeHTTPURL(QStringLiteral("bank.example")), QStringLiteral("http://bank.example"));
    EXPECT_EQ(S::makeHTTPURL(QStringLiteral("https://bank.example")), QStringLiteral("https://bank.example"));
    EXPECT_EQ(S::makeHTTPURL(QStringLiteral("http://bank.example")), QStringLiteral("http://bank.example"));
    EXPECT_EQ(S::makeHTTPURL(QStringLiteral("")), QStringLiteral(""));

    EXPECT_EQ(S::replaceCharacters(QStringLiteral("a/b:c"), u"/:", u"-"), QStringLiteral("a-b-c"));
    // Replacement text holding a character of the set is not replaced again.
    EXPECT_EQ(S::replaceCharacters(QStringLiteral("a/b"), u"/", u"//"), QStringLiteral("a//b"));
    EXPECT_EQ(S::replaceCharacters(QStringLiteral("x😀y"), u"😀", u"_"), QStringLiteral("x_y"));
}

TEST(QFNSStringCategory, PathsChangeOnlyTheirLastComponent)
{
    EXPECT_EQ(S::cleanupPathString(QStringLiteral("/home/my files/Scan 1.pdf")), QStringLiteral("/home/my files/Scan_1.pdf"));
    EXPECT_EQ(S::cleanupPathString(QStringLiteral("Scan 1.pdf")), QStringLiteral("Scan_1.pdf"));
    EXPECT_EQ(S::cleanupPathString(QStringLiteral("/tmp/a b/")), QStringLiteral("/tmp/a_b"));
    EXPECT_TRUE(S::cleanupPathString(QStringLiteral("")).isNull());
    EXPECT_TRUE(S::cleanupPathString(QString()).isNull());

    EXPECT_EQ(S::stringByLowercasingPathExtension(QStringLiteral("/Docs/Scan.PDF")), QStringLiteral("/Docs/Scan.pdf"));
    EXPECT_EQ(S::stringByLowercasingPathExtension(QStringLiteral("/Docs.OLD/README")), QStringLiteral("/Docs.OLD/README"));
    EXPECT_EQ(S::stringByLowercasingPathExtension(QStringLiteral("/home/.Profile")), QStringLiteral("/home/.Profile"));
    EXPECT_EQ(S::stringByLowercasingPathExtension(QStringLiteral("a.tar.GZ")), QStringLiteral("a.tar.gz"));

    EXPECT_EQ(S::urlStringWithAppendedPath(QStringLiteral("https://dav.example/backup"), u"Quillfen"),
              QStringLiteral("https://dav.example/backup/Quillfen"));
    EXPECT_EQ(S::urlStringWithAppendedPath(QStringLiteral("https://dav.example/"), u"Quillfen"),
              QStringLiteral("https://dav.example/Quillfen"));
}

TEST(QFNSStringCategory, MarkersFindTheFirstStartAndTheFirstEndAfterIt)
{
    const QString ofx = QStringLiteral("<TRNAMT>-12.50<NAME>Coffee<MEMO>x");
    EXPECT_EQ(S::stringBetween(ofx, u"<NAME>", u"<"), QStringLiteral("Coffee"));
    EXPECT_EQ(S::stringBetween(QStringLiteral("end] [start]value]"), u"[start]", u"]"), QStringLiteral("value"));
    EXPECT_EQ(S::stringBetween(ofx, u"<MEMO>", u"<"), QStringLiteral("x"));
    EXPECT_TRUE(S::stringBetween(ofx, u"<PAYEE>", u"<").isNull());
    EXPECT_EQ(S::stringWithStart(ofx, u"<NAME>", u"<MEMO>"), QStringLiteral("<NAME>Coffee"));
    EXPECT_TRUE(S::stringWithStart(ofx, u"<X>", u"<").isNull());

    EXPECT_EQ(S::extractField(ofx, u"<TRNAMT>", u"<"), QStringLiteral("-12.50"));
    const QString missing = S::extractField(ofx, u"<PAYEE>", u"<");
    EXPECT_TRUE(missing.isEmpty());
    EXPECT_FALSE(missing.isNull());
    EXPECT_EQ(S::extractField(QStringLiteral("content-length: 512\r\n"), u"Content-Length: ", Qt::CaseInsensitive, u"\r\n"),
              QStringLiteral("512"));
    EXPECT_EQ(S::extractField(QStringLiteral("Name=Rent;"), u"name=", Qt::CaseSensitive, u";"), QStringLiteral(""));
    EXPECT_EQ(S::extractField(QStringLiteral("Name=Rent"), u"Name=", Qt::CaseSensitive, u";"), QStringLiteral("Rent"));
}

TEST(QFNSStringCategory, XmlEscapesKeepTheApostropheSlip)
{
    const QString text = QStringLiteral("Tom & Jerry's <\"Café\">");
    EXPECT_EQ(S::stringSafeForXML(text), QStringLiteral("Tom &amp; Jerry&apos;s &lt;&quot;Café&quot;&gt;"));
    EXPECT_EQ(S::stringSafeForXML(QStringLiteral("&lt;")), QStringLiteral("&amp;lt;"));
    EXPECT_EQ(S::escapeCharacter(text, u'&'), QStringLiteral("Tom &amp; Jerry's <\"Café\">"));
    EXPECT_EQ(S::escapeCharacter(text, u'<'), QStringLiteral("Tom & Jerry's &lt;\"Café\">"));
    EXPECT_EQ(S::escapeCharacter(text, u'"'), QStringLiteral("Tom & Jerry's <&quot;Café&quot;>"));
    EXPECT_EQ(S::escapeCharacter(text, u'\''), QStringLiteral("Tom &apos; Jerry's <\"Café\">"));
    EXPECT_EQ(S::escapeCharacter(text, u'x'), text);
}

TEST(QFNSStringCategory, MimeTypesAreLookedUpIgnoringCase)
{
    EXPECT_EQ(S::mimeTypeFromExtension(QStringLiteral("pdf")), QStringLiteral("application/pdf"));
    EXPECT_EQ(S::mimeTypeFromExtension(QStringLiteral("JPG")), QStringLiteral("image/jpeg"));
    EXPECT_EQ(S::mimeTypeFromFilePath(QStringLiteral("/a.b/Scan.TIFF")), QStringLiteral("image/tiff"));
    EXPECT_TRUE(S::mimeTypeFromFilePath(QStringLiteral("/a.pdf/README")).isEmpty());
    EXPECT_TRUE(S::mimeTypeFromExtension(QStringLiteral("nosuchext")).isEmpty());
}

TEST(QFNSStringCategory, StringFromFilePathReadsRichTextAndUtf8)
{
    const QString data = QStringLiteral(QUILLFEN_TEST_DATA_DIR "/attachments/");
    EXPECT_EQ(S::stringFromFilePath(data + QStringLiteral("receipt.rtf")),
              QStringLiteral("Café receipt\nTotal:\t12€50 {paid}\n€5 \uF0B7and \\ done"));
    EXPECT_EQ(S::stringFromFilePath(data + QStringLiteral("note.txt")),
              QStringLiteral("Überweisung für Miete — März\nZeile 2 ✓\n"));
    EXPECT_TRUE(S::stringFromFilePath(data + QStringLiteral("missing.txt")).isNull());
}
