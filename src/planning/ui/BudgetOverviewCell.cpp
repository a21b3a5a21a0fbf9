#include "planning/ui/BudgetOverviewCell.h"

#include "app/Quillfen_AppDelegate.h"
#include "common/AmountFormatter.h"
#include "store/ManagedObject.h"

#include <QHash>
#include <QMouseEvent>
#include <QPainter>
#include <QPainterPath>

namespace qf {

namespace {

constexpr int kPadding = 8;
constexpr int kBarHeight = 12;
constexpr int kGap = 16;

struct CachedBar {
    int width = 0;
    double limit = 0;
    double actual = 0;
    QPixmap pixmap;
};

QHash<QString, CachedBar>& barCache()
{
    static QHash<QString, CachedBar> cache;
    return cache;
}

int drawn = 0;

} // namespace

BudgetOverviewCell::BudgetOverviewCell(Quillfen_AppDelegate& delegate, ManagedObject& line, QWidget* parent)
    : QWidget(parent), m_delegate(delegate), m_line(line)
{
    setObjectName(QStringLiteral("budgetOverviewCell"));
    refresh();
}

void BudgetOverviewCell::refresh()
{
    m_limit = m_line.valueForKey(u"budget_limitAmountAdjusted").toDouble();
    m_actual = m_line.valueForKey(u"budget_actualAmount").toDouble();
    setToolTip(tr("Double-click to see the transactions of this line"));
    update();
}

QString BudgetOverviewCell::budgetedText() const
{
    return tr("Budgeted:") + QLatin1Char(' ') + m_delegate.amountFormatter().format(m_limit);
}

QString BudgetOverviewCell::actualText() const
{
    return tr("Actual:") + QLatin1Char(' ') + m_delegate.amountFormatter().format(m_actual);
}

QString BudgetOverviewCell::tagsText() const
{
    return tr("Tags") + QStringLiteral(": ") + m_line.valueForKey(u"budget_tags").toString();
}

double BudgetOverviewCell::fillFraction() const
{
    if (m_actual > m_limit)
        return 1.0;
    const double fraction = m_actual / m_limit;
    return fraction > 0 ? fraction : 0.0; // NaN for 0 over 0 too

}

void BudgetOverviewCell::setAmountColumnWidth(int width)
{
    m_amountColumn = width;
    updateGeometry();
    update();
}

int BudgetOverviewCell::amountTextWidth() const
{
    return std::max(fontMetrics().horizontalAdvance(budgetedText()), fontMetrics().horizontalAdvance(actualText()));
}

int BudgetOverviewCell::barsDrawn()
{
    return drawn;
}

QSize BudgetOverviewCell::sizeHint() const
{
    const int line = fontMetrics().height();
    return {320 + m_amountColumn, kPadding * 2 + line * 2 + 4};
}

QPixmap BudgetOverviewCell::bar(int width) const
{
    const QString id = m_line.valueForKey(u"budget_uniqueID").toString();
    CachedBar& cached = barCache()[id];
    if (!cached.pixmap.isNull() && cached.width == width && cached.limit == m_limit && cached.actual == m_actual)
        return cached.pixmap;
    ++drawn;
    const qreal ratio = devicePixelRatioF();
    QPixmap pixmap(QSize(width, kBarHeight) * ratio);
    pixmap.setDevicePixelRatio(ratio);
    pixmap.fill(Qt::transparent);
    QPainter painter(&pixmap);
    painter.setRenderHint(QPainter::Antialiasing);
    const QRectF whole(0.5, 0.5, width - 1, kBarHeight - 1);
    QPainterPath track;
    track.addRoundedRect(whole, kBarHeight / 2.0, kBarHeight / 2.0);
    painter.fillPath(track, palette().color(QPalette::Midlight));
    const double fill = fillFraction();
    if (fill > 0) {
        // The colour tells the direction, not whether the limit was passed.
        const bool incoming = m_line.valueForKey(u"budget_direction").toString() == QLatin1String("Incoming");
        painter.setClipPath(track);
        painter.fillRect(QRectF(0, 0, width * fill, kBarHeight), incoming ? QColor(52, 120, 220) : QColor(214, 58, 48));
        painter.setClipping(false);
    }
    painter.setPen(palette().color(QPalette::Mid));
    painter.drawPath(track);
    painter.end();
    cached = {width, m_limit, m_actual, pixmap};
    return pixmap;
}

void BudgetOverviewCell::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    const QFontMetrics metrics = fontMetrics();
    const int line = metrics.height();
    const int column = std::max(m_amountColumn, amountTextWidth());
    const QRect amounts(width() - kPadding - column, kPadding, column, line * 2);
    painter.setPen(palette().color(QPalette::Text));
    painter.drawText(QRect(amounts.topLeft(), QSize(column, line)), Qt::AlignRight | Qt::AlignVCenter, budgetedText());
    painter.drawText(QRect(amounts.left(), amounts.top() + line, column, line), Qt::AlignRight | Qt::AlignVCenter,
                     actualText());
    const int left = kPadding;
    const int barWidth = std::max(40, amounts.left() - kGap - left);
    QFont bold = font();
    bold.setBold(true);
    painter.setFont(bold);
    // The bar is full at the limit and beyond; the words say by how much.
    const bool incoming = m_line.valueForKey(u"budget_direction").toString() == QLatin1String("Incoming");
    const QString excess = m_delegate.amountFormatter().format(m_actual - m_limit);
    const QString over = m_actual > m_limit && m_limit > 0
                             ? (incoming ? tr("%1 more than budgeted").arg(excess) : tr("%1 over").arg(excess))
                             : QString();
    const int overWidth = over.isEmpty() ? 0 : metrics.horizontalAdvance(over) + kGap;
    painter.drawText(QRect(left, kPadding, barWidth - overWidth, line), Qt::AlignLeft | Qt::AlignVCenter,
                     QFontMetrics(bold).elidedText(tagsText(), Qt::ElideRight, barWidth - overWidth));
    if (!over.isEmpty()) {
        painter.setFont(font());
        painter.setPen(palette().color(QPalette::PlaceholderText));
        painter.drawText(QRect(left, kPadding, barWidth, line), Qt::AlignRight | Qt::AlignVCenter, over);
        painter.setPen(palette().color(QPalette::Text));
    }
    painter.drawPixmap(left, kPadding + line + (line - kBarHeight) / 2 + 2, bar(barWidth));
    painter.setPen(palette().color(QPalette::Midlight));
    painter.drawLine(0, height() - 1, width(), height() - 1);
}

void BudgetOverviewCell::mouseDoubleClickEvent(QMouseEvent* event)
{
    if (event->button() == Qt::LeftButton)
        Q_EMIT activated(&m_line);
}

} // namespace qf
