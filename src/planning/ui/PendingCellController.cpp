#include "planning/ui/PendingCellController.h"

#include "app/Quillfen_AppDelegate.h"
#include "app/UserDefaults.h"
#include "common/AmountFormatter.h"
#include "common/DateFormatter.h"
#include "store/ManagedObject.h"

#include <QGraphicsOpacityEffect>
#include <QGridLayout>
#include <QLabel>
#include <QPropertyAnimation>
#include <QStackedWidget>

namespace qf {

PendingCellController::PendingCellController(Quillfen_AppDelegate& delegate, QWidget* parent)
    : QWidget(parent), m_delegate(delegate), m_pages(new QStackedWidget(this)), m_title(new QLabel(this)),
      m_amount(new QLabel(this)), m_date(new QLabel(this)), m_tags(new QLabel(this))
{
    auto* main = new QWidget(this);
    auto* grid = new QGridLayout(main);
    grid->setContentsMargins(8, 4, 8, 4);
    QFont bold = m_title->font();
    bold.setBold(true);
    m_title->setFont(bold);
    m_amount->setAlignment(Qt::AlignRight | Qt::AlignVCenter);
    m_date->setAlignment(Qt::AlignRight | Qt::AlignVCenter);
    m_tags->setForegroundRole(QPalette::PlaceholderText);
    m_date->setForegroundRole(QPalette::PlaceholderText);
    grid->addWidget(m_title, 0, 0);
    grid->addWidget(m_amount, 0, 1);
    grid->addWidget(m_tags, 1, 0);
    grid->addWidget(m_date, 1, 1);
    grid->setColumnStretch(0, 1);
    m_pages->addWidget(new QWidget(this));
    m_pages->addWidget(main);
    auto* layout = new QGridLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(m_pages);
}

void PendingCellController::setTransaction(ManagedObject* transaction)
{
    m_transaction = transaction;
    fill();
}

void PendingCellController::setState(const QString& state)
{
    if (state != QLatin1String("Blank") && state != QLatin1String("Main") && state != QLatin1String("Plain Main"))
        return;
    m_state = state;
    fill();
    m_pages->setCurrentIndex(state == QLatin1String("Blank") ? 0 : 1);
    if (UserDefaults::standard().boolForKey(DefaultsKey::ShouldUseAnimation) && isVisible()) {
        auto* effect = new QGraphicsOpacityEffect(m_pages);
        m_pages->setGraphicsEffect(effect);
        auto* fade = new QPropertyAnimation(effect, "opacity", this);
        fade->setDuration(200);
        fade->setStartValue(0.0);
        fade->setEndValue(1.0);
        connect(fade, &QPropertyAnimation::finished, m_pages, [this] { m_pages->setGraphicsEffect(nullptr); });
        fade->start(QAbstractAnimation::DeleteWhenStopped);
    }
}

void PendingCellController::localeChanged()
{
    fill();
}

void PendingCellController::fill()
{
    const bool plain = m_state == QLatin1String("Plain Main");
    if (!m_transaction) {
        for (QLabel* label : {m_title, m_amount, m_date, m_tags})
            label->clear();
        return;
    }
    m_title->setText(m_transaction->valueForKey(u"trans_title").toString());
    m_amount->setText(m_delegate.amountFormatter().format(m_transaction->valueForKey(u"trans_amount").toDouble()));
    const Value date = m_transaction->valueForKey(u"trans_date");
    m_date->setText(date.isNull() ? QString() : m_delegate.shortDateFormatter().format(date.toDate()));
    m_tags->setText(m_transaction->valueForKey(u"trans_keywords").toString());
    m_date->setVisible(!plain);
    m_tags->setVisible(!plain);
}

QString PendingCellController::titleText() const
{
    return m_title->text();
}

QString PendingCellController::amountText() const
{
    return m_amount->text();
}

QString PendingCellController::dateText() const
{
    return m_date->isVisibleTo(this) ? m_date->text() : QString();
}

QString PendingCellController::tagsText() const
{
    return m_tags->isVisibleTo(this) ? m_tags->text() : QString();
}

} // namespace qf
