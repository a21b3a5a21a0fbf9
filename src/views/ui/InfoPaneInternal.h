#pragma once

// Pieces the account and folder panes share, so both read alike: a framed
// pane above the list, a large icon and title, muted field names, and two
// pages (details and edit form) of which only the shown one takes room.

#include <QFrame>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QKeySequence>
#include <QPushButton>
#include <QShortcut>
#include <functional>
#include <QLabel>
#include <QSizePolicy>
#include <QStackedWidget>
#include <QVBoxLayout>

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

// The edit page's heading, and the grid its fields sit in.
inline QLabel* editHeading(const QString& text, QWidget* parent)
{
    auto* label = new QLabel(text, parent);
    QFont bold = label->font();
    bold.setBold(true);
    label->setFont(bold);
    return label;
}

inline QGridLayout* editGrid()
{
    auto* grid = new QGridLayout;
    grid->setHorizontalSpacing(8);
    grid->setVerticalSpacing(6);
    return grid;
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

// Lays a pane out as its info page and its edit form, showing the info page;
// the pane stays hidden until a vault of its kind is shown.
inline void setupPages(QFrame* pane, QStackedWidget* pages, QWidget* infoPage, QWidget* editPage)
{
    styleFrame(pane);
    pages->addWidget(infoPage);
    pages->addWidget(editPage);
    showPage(pages, infoPage);
    auto* layout = new QVBoxLayout(pane);
    layout->setContentsMargins(12, 10, 12, 10);
    layout->addWidget(pages);
    pane->hide();
}

// Finishes an edit form: its heading, its fields, then Cancel and Save (Save
// is the default button; Escape cancels).
inline void finishEditPage(QWidget* page, QWidget* heading, QLayout* fields, QObject* owner,
                           const std::function<void()>& cancel, const std::function<void()>& save)
{
    auto* cancelButton = new QPushButton(QObject::tr("Cancel"), page);
    cancelButton->setObjectName(QStringLiteral("cancelEdit"));
    auto* saveButton = new QPushButton(QObject::tr("Save"), page);
    saveButton->setObjectName(QStringLiteral("saveEdit"));
    saveButton->setDefault(true);
    QObject::connect(cancelButton, &QPushButton::clicked, owner, cancel);
    QObject::connect(saveButton, &QPushButton::clicked, owner, save);
    auto* escape = new QShortcut(QKeySequence(Qt::Key_Escape), page);
    escape->setContext(Qt::WidgetWithChildrenShortcut);
    QObject::connect(escape, &QShortcut::activated, owner, cancel);
    auto* buttons = new QHBoxLayout;
    buttons->addStretch();
    buttons->addWidget(cancelButton);
    buttons->addWidget(saveButton);

    auto* layout = new QVBoxLayout(page);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(8);
    layout->addWidget(heading);
    layout->addLayout(fields);
    layout->addLayout(buttons);
}

} // namespace qf::infopane
