#pragma once

#include <QFrame>
#include <QStringList>

class QLineEdit;
class QListWidget;

namespace qf {

// The pop-up list of every tag in use, with a search field; choosing a tag
// adds it to the tag field it was opened for, unless the field holds it.
class TagBrowser : public QFrame {
    Q_OBJECT

public:
    TagBrowser(QLineEdit& tagsField, QStringList keywords, QWidget* parent = nullptr);

    // Opens below the tag field; closes when the user clicks elsewhere.
    void showBelowField();

    QLineEdit* searchField() const { return m_search; }
    QListWidget* list() const { return m_list; }

    void searchTags(const QString& text);
    void chooseTag(const QString& tag);

private:
    QLineEdit& m_tagsField;
    QStringList m_keywords;
    QLineEdit* m_search;
    QListWidget* m_list;
};

} // namespace qf
