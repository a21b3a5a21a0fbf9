#pragma once

#include "support/CliRun.h"

#include <QStringList>
#include <QTemporaryDir>
#include <gtest/gtest.h>

namespace qf::test {

// Drives quillfen-cli in a home of its own, so no run touches real settings.
class Cli : public ::testing::Test {
protected:
    QTemporaryDir home;

    QString dataDir() const { return home.path() + QStringLiteral("/ledger"); }

    CliRun run(const QStringList& arguments, const QString& locale = QStringLiteral("en_US"))
    {
        return runCli(home.path(), dataDir(), arguments, locale);
    }

    QString add(const QStringList& arguments)
    {
        const CliRun r = run(QStringList{QStringLiteral("add")} + arguments);
        EXPECT_EQ(r.exitCode, 0) << qPrintable(r.err);
        return r.out.trimmed();
    }

    // Lines of `list` as "day title amount", sorted, so oldest first.
    QStringList rowsByDay(const QStringList& selection = {})
    {
        const CliRun r = run(QStringList{QStringLiteral("list")} + selection);
        EXPECT_EQ(r.exitCode, 0) << qPrintable(r.err);
        QStringList found;
        for (const QString& line : r.out.split(QLatin1Char('\n'), Qt::SkipEmptyParts)) {
            const QStringList f = line.split(QLatin1Char('\t'));
            found << f.value(1).left(10) + QLatin1Char(' ') + f.value(2) + QLatin1Char(' ') + f.value(3);
        }
        found.sort();
        return found;
    }

    // Lines of `list`, each reduced to title, amount, status and tags.
    QStringList listed(const QStringList& selection)
    {
        const CliRun r = run(QStringList{QStringLiteral("list")} + selection);
        EXPECT_EQ(r.exitCode, 0) << qPrintable(r.err);
        QStringList rows;
        for (const QString& line : r.out.split(QLatin1Char('\n'), Qt::SkipEmptyParts)) {
            const QStringList f = line.split(QLatin1Char('\t'));
            if (f.size() == 6)
                rows << QStringList{f[2], f[3], f[4], f[5]}.join(QLatin1Char('|'));
        }
        return rows;
    }
};

} // namespace qf::test
