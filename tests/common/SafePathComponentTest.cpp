#include "common/SafePathComponent.h"

#include "support/FileBytes.h"

#include <QFile>
#include <QTemporaryDir>
#include <gtest/gtest.h>

using namespace qf;

TEST(SafePathComponent, RefusesEverythingThatIsNotExactlyOneName)
{
    const QString e = QString(QChar(0xE9)); // two bytes in UTF-8
    const struct {
        QString text;
        bool safe;
    } cases[] = {
        {QString(), false},
        {QStringLiteral("."), false},
        {QStringLiteral(".."), false},
        {QStringLiteral("a/b"), false},
        {QStringLiteral("../x"), false},
        {QStringLiteral("a") + QChar(0) + QStringLiteral("b"), false},
        {QStringLiteral("tab\there"), false},
        {QStringLiteral("del\x7f"), false},
        {QStringLiteral("c1") + QChar(0x85), false},
        {e.repeated(128), false}, // 128 characters, 256 bytes
        {QStringLiteral("..."), true},
        {QStringLiteral(".hidden"), true},
        {QStringLiteral("a b\\c:d"), true},
        {e.repeated(127), true},
    };
    for (const auto& c : cases) {
        const Status s = SafePathComponent::check(c.text);
        EXPECT_EQ(s.isOk(), c.safe) << qPrintable(c.text.left(20)) << ": " << qPrintable(s.message());
    }
    // The message shows what was refused without letting control bytes out.
    EXPECT_EQ(SafePathComponent::check(QStringLiteral("a\x01/b")).message(),
              QStringLiteral("\"a") + QChar::ReplacementCharacter +
                  QStringLiteral("/b\" cannot be a file name: it holds a control character"));
}

TEST(SafePathComponent, JoinStaysInsideTheFolderAlsoPastLinks)
{
    QTemporaryDir dir;
    const QString folder = dir.filePath(QStringLiteral("Attachments"));
    const QString outside = dir.filePath(QStringLiteral("elsewhere"));
    ASSERT_TRUE(qf::test::writeFile(folder + QStringLiteral("/T-1/receipt.pdf"), "pdf"));
    ASSERT_TRUE(qf::test::writeFile(outside + QStringLiteral("/keep.txt"), "keep"));

    EXPECT_EQ(SafePathComponent::join(folder + QLatin1Char('/'), QStringLiteral("T-1")).value(),
              folder + QStringLiteral("/T-1"));
    EXPECT_FALSE(SafePathComponent::join(folder, QStringLiteral("../elsewhere")).isOk());

    ASSERT_TRUE(QFile::link(outside, folder + QStringLiteral("/out")));
    ASSERT_TRUE(QFile::link(folder, folder + QStringLiteral("/self")));
    ASSERT_TRUE(QFile::link(dir.filePath(QStringLiteral("missing")), folder + QStringLiteral("/dangling")));
    ASSERT_TRUE(QFile::link(folder + QStringLiteral("/T-1"), folder + QStringLiteral("/alias")));
    const Result<QString> out = SafePathComponent::join(folder, QStringLiteral("out"));
    ASSERT_FALSE(out.isOk());
    EXPECT_TRUE(out.message().contains(QStringLiteral("leads out"))) << qPrintable(out.message());
    EXPECT_FALSE(SafePathComponent::join(folder, QStringLiteral("self")).isOk());
    EXPECT_FALSE(SafePathComponent::join(folder, QStringLiteral("dangling")).isOk());
    EXPECT_EQ(SafePathComponent::join(folder, QStringLiteral("alias")).value(), folder + QStringLiteral("/alias"));
}
