#include <QCoreApplication>
#include <QStandardPaths>
#include <gtest/gtest.h>

int main(int argc, char** argv)
{
    // Keep every test away from the developer's real settings and ledger.
    QStandardPaths::setTestModeEnabled(true);
    QCoreApplication app(argc, argv);
    QCoreApplication::setOrganizationName(QStringLiteral("Quillfen"));
    QCoreApplication::setApplicationName(QStringLiteral("Quillfen"));
    ::testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
