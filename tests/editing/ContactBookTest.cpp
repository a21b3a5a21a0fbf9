#include "editing/ContactBook.h"

#include <gtest/gtest.h>

#include <QTemporaryDir>

using namespace qf;

namespace {

QString describe(const std::vector<VCardContact>& contacts)
{
    QStringList rows;
    for (const VCardContact& c : contacts)
        rows.append(QStringLiteral("%1|%2|%3").arg(c.firstName, c.lastName, c.organization));
    return rows.join(QLatin1Char('/'));
}

QString contactsFolder()
{
    return QStringLiteral(QUILLFEN_TEST_DATA_DIR "/contacts");
}

} // namespace

TEST(VCardReader, MalformedStructureIsReportedWithItsLine)
{
    const auto nested = VCardReader::read("BEGIN:VCARD\nFN:A\nBEGIN:VCARD\nEND:VCARD\nEND:VCARD\n");
    ASSERT_FALSE(nested.isOk());
    EXPECT_EQ(nested.error().position, 3);
    const auto stray = VCardReader::read("BEGIN:VCARD\nFN:A\nEND:VCARD\nEND:VCARD\n");
    ASSERT_FALSE(stray.isOk());
    EXPECT_EQ(stray.error().position, 4);
    const auto open = VCardReader::read("\nBEGIN:VCARD\r\nFN:A\r\n");
    ASSERT_FALSE(open.isOk());
    EXPECT_EQ(open.error().position, 2);
    const auto noColon = VCardReader::read("BEGIN:VCARD\nFN:A\n garbage folded\nnonsense\nEND:VCARD\n");
    ASSERT_FALSE(noColon.isOk());
    EXPECT_EQ(noColon.error().position, 4);
    EXPECT_TRUE(VCardReader::read("").isOk());
    EXPECT_TRUE(VCardReader::read("\xEF\xBB\xBFnot a card\n")->empty());
}

TEST(VCardReader, ReadsNamesThroughFoldsEscapesAndParameters)
{
    const auto cards = VCardReader::read("\xEF\xBB\xBF" "BEGIN:VCARD\r\nN:O\\;Brien;Se\r\n\tan;;;\r\n"
                                         "ORG;LABEL=\"a:b\":Acme\\, Inc;Sales\r\nEND:VCARD\r\n"
                                         "begin:vcard\nFN:Solo\nend:vcard\n");
    ASSERT_TRUE(cards.isOk()) << cards.message().toStdString();
    EXPECT_EQ(describe(*cards), QStringLiteral("Sean|O;Brien|Acme, Inc/Solo||"));
    EXPECT_EQ(VCardReader::components(u"a\\;b;c\\\\;d\\nx"),
              (QStringList{QStringLiteral("a;b"), QStringLiteral("c\\"), QStringLiteral("d\nx")}));
}

TEST(ContactBook, LoadsFilesInPathOrder)
{
    const ContactBook book = ContactBook::load(contactsFolder());
    EXPECT_TRUE(book.errors().isEmpty()) << book.errors().join(QLatin1Char('\n')).toStdString();
    EXPECT_EQ(describe(book.contacts()),
              QStringLiteral("Ann|Miller|Northwind Traders/Cher||/Johanna|Hannover|/||North, South & Co/"
                             "Ann|Miller|Annex Bakery/Zoë Nordin||/Bob|Semi;colon|northern lights"));
    EXPECT_TRUE(ContactBook::load(QStringLiteral("/nonexistent/contacts")).contacts().empty());
}

TEST(ContactBook, BrokenFileIsLeftOutAndNamed)
{
    QTemporaryDir dir;
    QFile good(dir.filePath(QStringLiteral("a.vcf")));
    ASSERT_TRUE(good.open(QIODevice::WriteOnly));
    good.write("BEGIN:VCARD\nN:Lee;Kim\nEND:VCARD\n");
    good.close();
    QFile bad(dir.filePath(QStringLiteral("b.vcf")));
    ASSERT_TRUE(bad.open(QIODevice::WriteOnly));
    bad.write("BEGIN:VCARD\nN:Broken;Bea\n");
    bad.close();
    const ContactBook book = ContactBook::load(dir.path());
    EXPECT_EQ(describe(book.contacts()), QStringLiteral("Kim|Lee|"));
    ASSERT_EQ(book.errors().size(), 1);
    EXPECT_TRUE(book.errors().front().startsWith(QStringLiteral("b.vcf: "))) << book.errors().front().toStdString();
}

TEST(ContactBook, PeopleByNamePartThenOrganisationsByPrefix)
{
    const ContactBook book = ContactBook::load(contactsFolder());
    // "ann" is inside Ann, Johanna and Hannover; Annex begins with it, Northwind does not.
    EXPECT_EQ(book.hintsForContact(QStringLiteral("ann")),
              (QStringList{QStringLiteral("Ann Miller"), QStringLiteral("Johanna Hannover"),
                           QStringLiteral("Ann Miller"), QStringLiteral("Annex Bakery")}));
    // Organisations only match at the start; people without a last name give the first name.
    EXPECT_EQ(book.hintsForContact(QStringLiteral("NORTH")),
              (QStringList{QStringLiteral("Northwind Traders"), QStringLiteral("North, South & Co"),
                           QStringLiteral("northern lights")}));
    EXPECT_EQ(book.hintsForContact(QStringLiteral("her")), (QStringList{QStringLiteral("Cher")}));
    EXPECT_EQ(book.hintsForContact(QStringLiteral("zo")), (QStringList{QStringLiteral("Zoë Nordin")}));
    EXPECT_EQ(book.hintsForContact(QStringLiteral("colon")), (QStringList{QStringLiteral("Bob Semi;colon")}));
    EXPECT_TRUE(book.hintsForContact(QString()).isEmpty());
    EXPECT_TRUE(book.hintsForContact(QStringLiteral("Trader")).isEmpty());
}
