#include "exchange/StatementDownload.h"

#include <gtest/gtest.h>

using namespace qf;
using D = StatementDownload;

TEST(StatementDownload, ExtensionsChooseTheImportInAnyCase)
{
    EXPECT_EQ(D::routeForPath(u"/tmp/March.qif"), StatementRoute::Qif);
    EXPECT_EQ(D::routeForPath(u"/tmp/March.QiF"), StatementRoute::Qif);
    EXPECT_EQ(D::routeForPath(u"/tmp/March.ofx"), StatementRoute::Ofx);
    EXPECT_EQ(D::routeForPath(u"/tmp/MARCH.QFX"), StatementRoute::Ofx);
    EXPECT_EQ(D::routeForPath(u"/tmp/March.qfx.pdf"), StatementRoute::None);
    EXPECT_EQ(D::routeForPath(u"/tmp/statements.ofx/March"), StatementRoute::None);
    EXPECT_EQ(D::routeForPath(u"/tmp/qif"), StatementRoute::None);
    EXPECT_EQ(D::routeForPath(u""), StatementRoute::None);
}

TEST(StatementDownload, StatementTypesAreSavedOtherPagesShown)
{
    EXPECT_TRUE(D::isStatementMimeType(u"application/x-ofx"));
    EXPECT_TRUE(D::isStatementMimeType(u"application/vnd.intu.QFX"));
    EXPECT_TRUE(D::isStatementMimeType(u"application/qif"));
    EXPECT_FALSE(D::isStatementMimeType(u"text/html"));
    EXPECT_FALSE(D::isStatementMimeType(u"application/pdf"));
    // An anonymous binary download counts when its name is a statement's.
    EXPECT_TRUE(D::shouldSave(u"application/octet-stream", u"export.QFX"));
    EXPECT_FALSE(D::shouldSave(u"application/octet-stream", u"export.csv"));
    EXPECT_TRUE(D::shouldSave(u"application/x-ofx", u"download.cgi"));
}

TEST(StatementDownload, SavedNamesStayInTheFolderAndKeepARoute)
{
    EXPECT_EQ(D::savePath(QStringLiteral("/tmp/q"), u"March.ofx", u"application/x-ofx"), QStringLiteral("/tmp/q/March.ofx"));
    EXPECT_EQ(D::savePath(QStringLiteral("/tmp/q"), u"../../etc/March.qif", u""), QStringLiteral("/tmp/q/March.qif"));
    EXPECT_EQ(D::savePath(QStringLiteral("/tmp/q"), u"C:\\Users\\x\\a.QFX", u""), QStringLiteral("/tmp/q/a.QFX"));
    EXPECT_EQ(D::savePath(QStringLiteral("/tmp/q"), u"..", u"application/x-ofx"), QStringLiteral("/tmp/q/statement.ofx"));
    EXPECT_EQ(D::savePath(QStringLiteral("/tmp/q"), u"", u"application/vnd.intu.qfx"), QStringLiteral("/tmp/q/statement.qfx"));
    EXPECT_EQ(D::savePath(QStringLiteral("/tmp/q"), u"download.cgi", u"application/qif"), QStringLiteral("/tmp/q/download.cgi.qif"));
    EXPECT_EQ(D::routeForPath(D::savePath(QStringLiteral("/tmp/q"), u"x", u"text/x-ofx")), StatementRoute::Ofx);
}
