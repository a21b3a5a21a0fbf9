#pragma once

#include <QProcess>
#include <QProcessEnvironment>
#include <QString>
#include <QStringList>

namespace qf::test {

struct CliRun {
    int exitCode = -1;
    QString out;
    QString err;
};

// This environment with home as the home folder, so that a program started
// in it never touches the real settings.
inline QProcessEnvironment environmentWithHome(const QString& home)
{
    QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
    env.insert(QStringLiteral("HOME"), home);
    env.insert(QStringLiteral("XDG_CONFIG_HOME"), home + QStringLiteral("/config"));
    env.insert(QStringLiteral("XDG_DATA_HOME"), home + QStringLiteral("/data"));
    env.insert(QStringLiteral("XDG_CACHE_HOME"), home + QStringLiteral("/cache"));
    return env;
}

// Runs quillfen-cli on the ledger in dataDir with home as its home folder.
inline CliRun runCli(const QString& home, const QString& dataDir, const QStringList& arguments,
                     const QString& locale = QStringLiteral("en_US"))
{
    QProcess process;
    process.setProcessEnvironment(environmentWithHome(home));
    process.start(QStringLiteral(QUILLFEN_CLI_PATH),
                  QStringList{QStringLiteral("--data-dir"), dataDir, QStringLiteral("--locale"), locale} + arguments);
    process.waitForFinished(60000);
    return {process.exitCode(), QString::fromUtf8(process.readAllStandardOutput()),
            QString::fromUtf8(process.readAllStandardError())};
}

} // namespace qf::test
