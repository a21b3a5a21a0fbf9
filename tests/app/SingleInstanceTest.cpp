#include "app/SingleInstance.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QUuid>
#include <gtest/gtest.h>

using namespace qf;

TEST(SingleInstance, ASecondLaunchHandsItsFilesToTheFirst)
{
    const QString name = QStringLiteral("quillfen-test-") + QUuid::createUuid().toString(QUuid::Id128);
    SingleInstance later(name);
    EXPECT_FALSE(later.handOff({QStringLiteral("/nobody/listens")}, 200));

    SingleInstance first(name);
    ASSERT_TRUE(first.listen());
    QStringList received;
    bool arrived = false;
    QObject::connect(&first, &SingleInstance::filesReceived, [&](const QStringList& files) {
        received = files;
        arrived = true;
    });
    const QStringList files{QStringLiteral("/cache/ABC.quillfenTransItem"), QStringLiteral("/tmp/ä b.txt")};
    ASSERT_TRUE(later.handOff(files));
    QElapsedTimer waited;
    waited.start();
    while (!arrived && waited.elapsed() < 3000)
        QCoreApplication::processEvents(QEventLoop::AllEvents, 50);
    EXPECT_EQ(received, files);
}
