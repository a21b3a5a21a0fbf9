// Renders the application icon's SVG into the PNG sizes desktop menus use:
//   quillfen-render-icon ICON.svg OUTPUT_FOLDER SIZE...
// writes OUTPUT_FOLDER/<size>x<size>/apps/quillfen.png for each size.

#include <QDir>
#include <QGuiApplication>
#include <QImage>
#include <QPainter>
#include <QSvgRenderer>
#include <cstdio>

int main(int argc, char** argv)
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QGuiApplication app(argc, argv);
    const QStringList args = app.arguments();
    if (args.size() < 4) {
        std::fprintf(stderr, "usage: quillfen-render-icon ICON.svg OUTPUT_FOLDER SIZE...\n");
        return 2;
    }
    QSvgRenderer svg(args[1]);
    if (!svg.isValid()) {
        std::fprintf(stderr, "quillfen-render-icon: %s is not a readable SVG\n", qPrintable(args[1]));
        return 1;
    }
    for (const QString& sizeText : args.mid(3)) {
        const int size = sizeText.toInt();
        const QString folder = QStringLiteral("%1/%2x%2/apps").arg(args[2]).arg(size);
        QImage image(size, size, QImage::Format_ARGB32_Premultiplied);
        image.fill(Qt::transparent);
        QPainter painter(&image);
        painter.setRenderHint(QPainter::Antialiasing);
        svg.render(&painter);
        painter.end();
        if (!QDir().mkpath(folder) || !image.save(folder + QStringLiteral("/quillfen.png"))) {
            std::fprintf(stderr, "quillfen-render-icon: could not write %s\n", qPrintable(folder));
            return 1;
        }
    }
    return 0;
}
