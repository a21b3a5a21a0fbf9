#pragma once

// Pieces the account and folder panes share, so both read alike: a framed
// pane above the list, a large icon and title, muted field names, and two
// pages (details and edit form) of which only the shown one takes room.

#include <QFrame>
#include <QLabel>
#include <QSizePolicy>
#include <QStackedWidget>

namespace qf::infopane {

inline void styleFrame(QFrame* pane)
{
    pane->setFrameShape(QFrame::StyledPanel);
    pane->setAutoFillBackground(true);
    pane->setBackgroundRole(QPalette::Base);
    pane->setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Maximum);
}

inline QLabel* titleLabel(QWidget* parent)
{
    auto* label = new QLabel(parent);
    QFont font = label->font();
    font.setPointSizeF(font.pointSizeF() * 1.35);
    font.setBold(true);
    label->setFont(font);
    label->setTextInteractionFlags(Qt::TextSelectableByMouse);
    return label;
}

// A field's name: right-aligned and muted, as in a form.
inline QLabel* nameLabel(const QString& text, QWidget* parent)
{
    auto* label = new QLabel(text, parent);
    label->setAlignment(Qt::AlignRight | Qt::AlignVCenter);
    label->setForegroundRole(QPalette::PlaceholderText);
    return label;
}

inline QLabel* valueLabel(QWidget* parent, const char* objectName)
{
    auto* label = new QLabel(parent);
    label->setObjectName(QString::fromLatin1(objectName));
    label->setTextInteractionFlags(Qt::TextSelectableByMouse);
    return label;
}

// An empty detail shows as a dash rather than as a gap.
inline QString orDash(const QString& text)
{
    return text.isEmpty() ? QStringLiteral("—") : text;
}

// Shows one page; the others stop claiming height, so the pane is as tall as
// the page shown rather than as its tallest page.
inline void showPage(QStackedWidget* pages, QWidget* page)
{
    for (int i = 0; i < pages->count(); ++i) {
        QWidget* w = pages->widget(i);
        w->setSizePolicy(QSizePolicy::Preferred, w == page ? QSizePolicy::Preferred : QSizePolicy::Ignored);
    }
    pages->setCurrentWidget(page);
    pages->updateGeometry();
}

} // namespace qf::infopane
