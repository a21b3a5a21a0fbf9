#include "app/ResourceFolder.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QImage>
#include <QPainter>
#include <QSvgRenderer>
#include <algorithm>
#include <gtest/gtest.h>

namespace {

// Every name the screens ask for. A file the list lacks is an icon no screen
// can reach; a name without a file is a blank row.
QStringList rowIconNames()
{
    const char* kinds[] = {"Master_Vault", "Bill_Manager", "Untagged", "Checking", "Savings",
                           "Credit", "Online", "Budget", "Folder", "FolderShared", "SmartFolder",
                           "SmartFolderShared", "SharedFolder", "iPod"};
    QStringList names;
    for (const char* kind : kinds) {
        names << QLatin1String(kind) + QStringLiteral("_Large_Icon");
        names << QLatin1String(kind) + QStringLiteral("_Small_Icon");
    }
    return names;
}

QStringList glyphNames()
{
    return {QStringLiteral("filter-all"),  QStringLiteral("filter-incoming"), QStringLiteral("filter-outgoing"),
            QStringLiteral("filter-paid"), QStringLiteral("filter-pending"),  QStringLiteral("search"),
            QStringLiteral("calendar"),    QStringLiteral("sort"),            QStringLiteral("add"),
            QStringLiteral("remove"),      QStringLiteral("edit"),            QStringLiteral("lock-closed"),
            QStringLiteral("lock-open"),   QStringLiteral("attachment"),      QStringLiteral("reconcile"),
            QStringLiteral("pay"),         QStringLiteral("share"),           QStringLiteral("view-list"),
            QStringLiteral("view-icons"),  QStringLiteral("transfer")};
}

QStringList allNames()
{
    return rowIconNames() + glyphNames() + QStringList{QStringLiteral("quillfen")};
}

int designGrid(const QString& name)
{
    return name.endsWith(QLatin1String("_Large_Icon")) || name == QLatin1String("quillfen") ? 32 : 16;
}

QStringList g_svgWarnings;

void collectSvgWarnings(QtMsgType, const QMessageLogContext& context, const QString& message)
{
    if (context.category && QByteArray(context.category).startsWith("qt.svg"))
        g_svgWarnings << message;
}

QImage render(QSvgRenderer& renderer, int size)
{
    QImage image(size, size, QImage::Format_ARGB32);
    image.fill(Qt::transparent);
    QPainter painter(&image);
    renderer.render(&painter);
    painter.end();
    return image;
}

TEST(IconSet, EveryNameLoadsAndDrawsLikeTheReference)
{
    const QString folder = qf::resourceFolder() + QStringLiteral("/icons/");
    for (const QString& name : allNames()) {
        SCOPED_TRACE(name.toStdString());
        const QString path = folder + name + QStringLiteral(".svg");
        ASSERT_TRUE(QFileInfo::exists(path)) << path.toStdString();

        g_svgWarnings.clear();
        const QtMessageHandler previous = qInstallMessageHandler(collectSvgWarnings);
        QSvgRenderer renderer(path);
        const int grid = designGrid(name);
        const QImage image = render(renderer, grid);
        qInstallMessageHandler(previous);

        EXPECT_TRUE(renderer.isValid());
        EXPECT_EQ(g_svgWarnings, QStringList());
        EXPECT_EQ(renderer.viewBoxF(), QRectF(0, 0, grid, grid));

        // An independent renderer's picture of the same file: a feature Qt
        // drops or draws differently shows up as pixels that disagree.
        QImage reference(QStringLiteral(QUILLFEN_TEST_DATA_DIR "/icons/") + name + QStringLiteral(".png"));
        ASSERT_FALSE(reference.isNull());
        reference = reference.convertToFormat(QImage::Format_ARGB32_Premultiplied);
        const QImage drawn = image.convertToFormat(QImage::Format_ARGB32_Premultiplied);
        ASSERT_EQ(reference.size(), drawn.size());
        // Renderers differ in anti-aliasing by a few levels at edges; a
        // missing or misplaced shape differs by far more over many pixels.
        int apart = 0;
        for (int y = 0; y < grid; ++y) {
            for (int x = 0; x < grid; ++x) {
                const QRgb a = drawn.pixel(x, y), b = reference.pixel(x, y);
                const int diff = std::max({qAbs(qAlpha(a) - qAlpha(b)), qAbs(qRed(a) - qRed(b)),
                                           qAbs(qGreen(a) - qGreen(b)), qAbs(qBlue(a) - qBlue(b))});
                apart += diff > 96;
            }
        }
        EXPECT_LE(apart, 3);
    }
}

TEST(IconSet, GlyphsAreOneGreySoTheyCanBeTinted)
{
    const QString folder = qf::resourceFolder() + QStringLiteral("/icons/");
    for (const QString& name : glyphNames()) {
        SCOPED_TRACE(name.toStdString());
        QSvgRenderer renderer(folder + name + QStringLiteral(".svg"));
        const QImage image = render(renderer, 16).convertToFormat(QImage::Format_ARGB32);
        QStringList strays;
        for (int y = 0; y < 16; ++y) {
            for (int x = 0; x < 16; ++x) {
                const QRgb pixel = image.pixel(x, y);
                if (qAlpha(pixel) < 64)
                    continue; // edge pixels lose precision when unpremultiplied
                if (qAbs(qRed(pixel) - 0x40) > 3 || qAbs(qGreen(pixel) - 0x40) > 3 || qAbs(qBlue(pixel) - 0x40) > 3)
                    strays << QStringLiteral("%1,%2=%3").arg(x).arg(y).arg(pixel, 8, 16, QLatin1Char('0'));
            }
        }
        EXPECT_EQ(strays, QStringList());
    }
}

TEST(IconSet, SourceFolderHoldsOnlyListedPlainSvg)
{
    const QDir folder(QStringLiteral(QUILLFEN_RESOURCE_DIR "/icons"));
    const QStringList files = folder.entryList({QStringLiteral("*.svg")}, QDir::Files, QDir::Name);
    QStringList unknown;
    for (const QString& file : files) {
        if (!allNames().contains(QFileInfo(file).completeBaseName()))
            unknown << file;
    }
    EXPECT_EQ(unknown, QStringList());
    EXPECT_EQ(files.size(), allNames().size());

    // The renderer quietly drops styling, filters, masks, text and linked
    // images, so an icon that uses them looks different in the app than in
    // an editor.
    const char* unsupported[] = {"<style", "class=", "<filter", "filter=", "<mask", "mask=", "<text",
                                 "<image", "href=", "<foreignObject", "currentColor"};
    for (const QString& file : files) {
        QFile svg(folder.filePath(file));
        ASSERT_TRUE(svg.open(QIODevice::ReadOnly)) << file.toStdString();
        const QByteArray text = svg.readAll();
        for (const char* feature : unsupported)
            EXPECT_FALSE(text.contains(feature)) << file.toStdString() << " uses " << feature;
    }
}

} // namespace
