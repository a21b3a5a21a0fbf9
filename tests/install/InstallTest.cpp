#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QProcessEnvironment>
#include <QTemporaryDir>
#include <gtest/gtest.h>

namespace {

struct Ran {
    int exitCode = -1;
    QString out;
};

Ran run(const QString& program, const QStringList& arguments, const QProcessEnvironment& env = QProcessEnvironment::systemEnvironment())
{
    QProcess process;
    process.setProcessEnvironment(env);
    process.start(program, arguments);
    if (!process.waitForFinished(120000))
        return {};
    return {process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1,
            QString::fromUtf8(process.readAllStandardOutput() + process.readAllStandardError()).trimmed()};
}

} // namespace

// Installs the build into a prefix of its own and asks the desktop's own
// tools what they make of it, as a menu and a file manager would.
TEST(Install, TheDesktopFindsTheProgramItsIconAndTheRecordType)
{
    const QString build = QFileInfo(QStringLiteral(QUILLFEN_CLI_PATH)).absolutePath() + QStringLiteral("/..");
    ASSERT_TRUE(QFileInfo::exists(build + QStringLiteral("/bin/quillfen")))
        << "the desktop program is not built here";
    QTemporaryDir prefix;
    const QString share = prefix.path() + QStringLiteral("/share");
    const Ran installed = run(QStringLiteral("cmake"), {QStringLiteral("--install"), build, QStringLiteral("--prefix"), prefix.path()});
    ASSERT_EQ(installed.exitCode, 0) << qPrintable(installed.out);

    for (const char* file : {"bin/quillfen", "bin/quillfen-cli", "share/applications/quillfen.desktop",
                             "share/mime/packages/quillfen.xml", "share/icons/hicolor/scalable/apps/quillfen.svg",
                             "share/icons/hicolor/48x48/apps/quillfen.png", "share/icons/hicolor/512x512/apps/quillfen.png",
                             "share/quillfen/Quillfen Example/Quillfen.xml"})
        EXPECT_TRUE(QFileInfo::exists(prefix.path() + QLatin1Char('/') + QString::fromLatin1(file))) << file;
    EXPECT_EQ(run(QStringLiteral("desktop-file-validate"), {share + QStringLiteral("/applications/quillfen.desktop")}).exitCode, 0);
    ASSERT_EQ(run(QStringLiteral("update-mime-database"), {share + QStringLiteral("/mime")}).exitCode, 0);
    ASSERT_EQ(run(QStringLiteral("update-desktop-database"), {share + QStringLiteral("/applications")}).exitCode, 0);

    // A desktop session whose data lies in the prefix and a home of its own.
    QProcessEnvironment session = QProcessEnvironment::systemEnvironment();
    session.insert(QStringLiteral("HOME"), prefix.path() + QStringLiteral("/home"));
    session.insert(QStringLiteral("XDG_DATA_HOME"), prefix.path() + QStringLiteral("/home/data"));
    session.insert(QStringLiteral("XDG_CONFIG_HOME"), prefix.path() + QStringLiteral("/home/config"));
    session.insert(QStringLiteral("XDG_DATA_DIRS"), share + QStringLiteral(":/usr/share"));
    session.remove(QStringLiteral("XDG_CURRENT_DESKTOP"));
    QDir().mkpath(prefix.path() + QStringLiteral("/home"));
    const QString record = prefix.path() + QStringLiteral("/Coffee.quillfenTransItem");
    QFile file(record);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<plist version=\"1.0\"><dict/></plist>\n");
    file.close();
    EXPECT_EQ(run(QStringLiteral("xdg-mime"), {QStringLiteral("query"), QStringLiteral("filetype"), record}, session).out,
              "application/x-quillfen-transitem");
    EXPECT_EQ(run(QStringLiteral("xdg-mime"),
                  {QStringLiteral("query"), QStringLiteral("default"), QStringLiteral("application/x-quillfen-transitem")},
                  session)
                  .out,
              "quillfen.desktop");

    // The installed programs find their resources beside them.
    const Ran example = run(prefix.path() + QStringLiteral("/bin/quillfen-cli"),
                            {QStringLiteral("--example"), QStringLiteral("vaults"), QStringLiteral("--type"), QStringLiteral("Budget")},
                            session);
    EXPECT_EQ(example.exitCode, 0) << qPrintable(example.out);
    EXPECT_TRUE(example.out.contains(QStringLiteral("Household Budget"))) << qPrintable(example.out);
}
