#include "views/ui/TransactionIconView.h"

#include "store/ManagedObject.h"
#include "views/ui/TransactionTableModel.h"

#include <QApplication>
#include <QPainter>
#include <QPainterPath>
#include <QScrollBar>
#include <QStyledItemDelegate>

namespace qf {

namespace {

constexpr int kMargin = 4;  // between the cell's edge and the card
constexpr int kPadding = 10; // inside the card

QFont titleFont(const QFont& base)
{
    QFont font = base;
    font.setBold(true);
    return font;
}

QFont amountFont(const QFont& base)
{
    QFont font = base;
    font.setBold(true);
    font.setPointSizeF(base.pointSizeF() * 1.25);
    return font;
}

QFont smallFont(const QFont& base)
{
    QFont font = base;
    font.setPointSizeF(base.pointSizeF() * 0.9);
    return font;
}

QColor mix(const QColor& a, const QColor& b, double share)
{
    return QColor::fromRgbF(a.redF() * (1 - share) + b.redF() * share, a.greenF() * (1 - share) + b.greenF() * share,
                            a.blueF() * (1 - share) + b.blueF() * share);
}

// Paints a card from the row's cells, so the card and the table always show
// the same texts and colours.
class CardDelegate : public QStyledItemDelegate {
public:
    using QStyledItemDelegate::QStyledItemDelegate;

    QSize sizeHint(const QStyleOptionViewItem& option, const QModelIndex&) const override
    {
        const QSize natural = cardSize(option.font);
        return {std::max(natural.width(), m_width), natural.height()};
    }

    // Cards grow to share out the row's width; 0 leaves them at their natural width.
    void setCardWidth(int width) { m_width = width; }
    int cardWidth() const { return m_width; }

    static QSize cardSize(const QFont& font)
    {
        const int title = QFontMetrics(titleFont(font)).height();
        const int date = QFontMetrics(smallFont(font)).height();
        const int amount = QFontMetrics(amountFont(font)).height();
        const int width = QFontMetrics(font).averageCharWidth() * 34;
        return {std::max(236, width) + 2 * kMargin, 2 * (kMargin + kPadding) + title + 2 + date + 8 + amount};
    }

    void paint(QPainter* painter, const QStyleOptionViewItem& option, const QModelIndex& index) const override
    {
        const QModelIndex row = index.siblingAtColumn(TransactionTableModel::TitleColumn);
        auto cell = [&](int column, int role = Qt::DisplayRole) { return row.siblingAtColumn(column).data(role); };
        const QPalette& palette = option.palette;
        const bool selected = option.state & QStyle::State_Selected;
        const bool active = option.state & QStyle::State_Active;

        painter->save();
        painter->setRenderHint(QPainter::Antialiasing);
        const QRectF card = QRectF(option.rect).adjusted(kMargin + 0.5, kMargin + 0.5, -kMargin - 0.5, -kMargin - 0.5);
        const QColor base = palette.color(QPalette::Base);
        const QColor highlight = palette.color(active ? QPalette::Active : QPalette::Inactive, QPalette::Highlight);
        QColor border = mix(base, palette.color(QPalette::Text), 0.18);
        QColor fill = base;
        if (selected) {
            fill = mix(base, highlight, 0.14);
            border = highlight;
        } else if (option.state & QStyle::State_MouseOver) {
            border = mix(base, highlight, 0.6);
        }
        painter->setPen(QPen(border, selected ? 2 : 1));
        painter->setBrush(fill);
        painter->drawRoundedRect(card, 6, 6);

        const QRect inner = option.rect.adjusted(kMargin + kPadding, kMargin + kPadding - 2, -kMargin - kPadding,
                                                 -kMargin - kPadding + 2);
        const QColor text = palette.color(QPalette::Text);
        const QColor muted = mix(base, text, 0.6);

        // Title, then the date under it.
        painter->setFont(titleFont(option.font));
        const QFontMetrics titleMetrics = painter->fontMetrics();
        painter->setPen(text);
        const QString titleText = cell(TransactionTableModel::TitleColumn).toString();
        QRect line(inner.left(), inner.top(), inner.width(), titleMetrics.height());
        painter->drawText(line, Qt::AlignLeft | Qt::AlignVCenter,
                          titleMetrics.elidedText(titleText.isEmpty() ? QObject::tr("Untitled") : titleText,
                                                  Qt::ElideRight, line.width()));
        const QFont small = smallFont(option.font);
        painter->setFont(small);
        const QFontMetrics smallMetrics = painter->fontMetrics();
        painter->setPen(muted);
        line = QRect(inner.left(), line.bottom() + 3, inner.width(), smallMetrics.height());
        const ManagedObject* t =
            static_cast<const TransactionTableModel*>(index.model())->transactionAt(index.row());
        const QString date = t ? t->valueForKey(u"trans_dateLongStringValue").toString() : QString();
        painter->drawText(line, Qt::AlignLeft | Qt::AlignVCenter, smallMetrics.elidedText(date, Qt::ElideRight, line.width()));

        // The amount at the bottom right, coloured by its sign; the status as
        // a small badge at the bottom left.
        painter->setFont(amountFont(option.font));
        const QFontMetrics amountMetrics = painter->fontMetrics();
        const QRect bottom(inner.left(), inner.bottom() - amountMetrics.height() + 1, inner.width(), amountMetrics.height());
        const QString amountText = cell(TransactionTableModel::AmountColumn).toString();
        const QVariant amountColour = cell(TransactionTableModel::AmountColumn, Qt::ForegroundRole);
        painter->setPen(amountColour.isValid() ? amountColour.value<QBrush>().color() : text);
        // A huge amount may take the whole line; the status then gives way.
        const int amountWidth = std::min(amountMetrics.horizontalAdvance(amountText) + 1, bottom.width());
        painter->drawText(bottom, Qt::AlignRight | Qt::AlignVCenter,
                          amountMetrics.elidedText(amountText, Qt::ElideLeft, amountWidth));

        const QString status = cell(TransactionTableModel::StatusColumn).toString();
        if (!status.isEmpty()) {
            const QVariant statusColour = cell(TransactionTableModel::StatusColumn, Qt::ForegroundRole);
            const QColor badge = statusColour.isValid() ? statusColour.value<QBrush>().color() : muted;
            painter->setFont(small);
            const int room = bottom.width() - amountWidth - 8;
            const QString shown = smallMetrics.elidedText(status, Qt::ElideRight, std::max(0, room - 12));
            if (shown.isEmpty()) {
                painter->restore();
                return;
            }
            const QRectF pill(bottom.left(), bottom.center().y() - smallMetrics.height() / 2.0 - 1,
                              smallMetrics.horizontalAdvance(shown) + 12, smallMetrics.height() + 2);
            painter->setPen(Qt::NoPen);
            painter->setBrush(mix(selected ? fill : base, badge, 0.14));
            painter->drawRoundedRect(pill, pill.height() / 2, pill.height() / 2);
            painter->setPen(badge);
            painter->drawText(pill, Qt::AlignCenter, shown);
        }
        painter->restore();
    }

private:
    int m_width = 0;
};

} // namespace

TransactionIconView::TransactionIconView(QWidget* parent) : QListView(parent), m_cards(new CardDelegate(this))
{
    setItemDelegate(m_cards);
    // Rows of cards that wrap. The list mode lays a million equal cards out
    // in less than half the time the icon mode takes (it keeps no rectangle
    // per item), and the arrow keys still move by rows and columns. Cards
    // stay where the layout puts them; dragging them hands the transactions
    // to a folder or an account, as rows of the table do.
    setViewMode(QListView::ListMode);
    setFlow(QListView::LeftToRight);
    setWrapping(true);
    setMovement(QListView::Static);
    setResizeMode(QListView::Adjust);
    setUniformItemSizes(true);
    setLayoutMode(QListView::Batched);
    setBatchSize(5000);
    setSpacing(2);
    setWordWrap(false);
    setSelectionBehavior(QAbstractItemView::SelectRows);
    setSelectionMode(QAbstractItemView::ExtendedSelection);
    setDragEnabled(true);
    setDragDropMode(QAbstractItemView::DragOnly);
    setMouseTracking(true);
    // White cards stand out on the window's colour.
    viewport()->setBackgroundRole(QPalette::Window);
}

void TransactionIconView::setModel(QAbstractItemModel* model)
{
    QListView::setModel(model);
    // A card stands for a whole row; its title's cell is the one the list shows.
    setModelColumn(TransactionTableModel::TitleColumn);
}

QSize TransactionIconView::cardSize() const
{
    return CardDelegate::cardSize(font());
}

void TransactionIconView::resizeEvent(QResizeEvent* event)
{
    fitCardsToWidth();
    QListView::resizeEvent(event);
}

void TransactionIconView::fitCardsToWidth()
{
    // As many cards of the natural width as fit side by side, widened to fill
    // the row, so the right edge does not end in a gap of almost a card.
    auto* cards = static_cast<CardDelegate*>(m_cards);
    const int space = spacing();
    // The room the list lays cards out in: the viewport less a scroll bar,
    // whether one shows or not. Each card takes the spacing on both sides.
    const int bounds = maximumViewportSize().width() -
                       style()->pixelMetric(QStyle::PM_ScrollBarExtent, nullptr, verticalScrollBar());
    const int room = bounds - space - 1;
    const int columns = std::max(1, room / (cardSize().width() + 2 * space));
    const int width = std::max(cardSize().width(), room / columns - 2 * space);
    if (width == cards->cardWidth())
        return;
    cards->setCardWidth(width);
    // The uniform item size is measured again only by a new layout.
    setUniformItemSizes(false);
    setUniformItemSizes(true);
    scheduleDelayedItemsLayout();
}

} // namespace qf
