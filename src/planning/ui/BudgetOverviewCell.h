#pragma once

#include <QWidget>

namespace qf {

class ManagedObject;
class Quillfen_AppDelegate;

// One budget line in the overview: its tags, what was budgeted and what was
// spent or earned in the period, and a bar filled by actual over limit, blue
// for incoming and red for outgoing. Bars are drawn once per line, width,
// limit and actual.
class BudgetOverviewCell : public QWidget {
    Q_OBJECT

public:
    BudgetOverviewCell(Quillfen_AppDelegate& delegate, ManagedObject& line, QWidget* parent = nullptr);

    ManagedObject& line() const { return m_line; }
    // Reads the line's figures again (the period may have changed).
    void refresh();
    QString budgetedText() const;
    QString actualText() const;
    QString tagsText() const;
    double limit() const { return m_limit; }
    double actual() const { return m_actual; }
    // How much of the bar is filled, 0 to 1.
    double fillFraction() const;
    // The right-aligned column of the two amount lines, shared by all cells.
    void setAmountColumnWidth(int width);
    int amountTextWidth() const;

    // Bars drawn since start; a cached bar is not drawn again.
    static int barsDrawn();
    QSize sizeHint() const override;

Q_SIGNALS:
    void activated(qf::ManagedObject* line);

protected:
    void paintEvent(QPaintEvent* event) override;
    void mouseDoubleClickEvent(QMouseEvent* event) override;

private:
    QPixmap bar(int width) const;

    Quillfen_AppDelegate& m_delegate;
    ManagedObject& m_line;
    double m_limit = 0;
    double m_actual = 0;
    int m_amountColumn = 0;
};

} // namespace qf
