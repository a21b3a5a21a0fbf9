#pragma once

#include "app/DatabaseLock.h"

#include <QList>
#include <QObject>
#include <QPointer>

class QAbstractAnimation;
class QAction;
class QLineEdit;
class QMainWindow;
class QPushButton;
class QWidget;

namespace qf {

class LockOverlay;

// The database lock over a main window: an opaque panel covering everything
// below the menu bar, with a password field. While it shows, the content and
// every menu command but Quit are disabled, and the window's own windows
// (such as the preferences) are closed. Locking and unlocking fade when
// the window is on screen and ShouldUseAnimation is on, and play the sounds
// "lockClosing" and "lockOpening".
class LockPanelController : public QObject {
    Q_OBJECT

public:
    explicit LockPanelController(QMainWindow& window);
    ~LockPanelController() override;

    // Locks unless no database password is stored; then ShouldEncryptDatabase
    // is turned off and nothing is locked.
    void lockDatabase();
    // Compares the panel's field with the stored password. Empty or wrong
    // beeps and shakes the panel (wrong also empties the field).
    void unlockDatabase();

    bool databaseLocked() const { return m_lock.databaseLocked(); }
    // Whether locking would do anything: a database password is stored.
    static bool canLock();

    QWidget* panel() const;
    QLineEdit* passwordField() const { return m_password; }
    QPushButton* unlockButton() const { return m_unlock; }
    bool isTransitionRunning() const;
    bool isShaking() const;
    void setAnimationDuration(int milliseconds) { m_duration = milliseconds; }

Q_SIGNALS:
    void lockChanged(bool locked);

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void build();
    void placeOverlay();
    void disableContent();
    void enableContent();
    bool shouldAnimate() const;
    void shakeCard();

    QMainWindow& m_window;
    QPointer<QWidget> m_menuWidget; // kept, as asking a window that is being destroyed for it crashes
    DatabaseLock m_lock;
    LockOverlay* m_overlay = nullptr;
    QWidget* m_card = nullptr;
    QLineEdit* m_password = nullptr;
    QPushButton* m_unlock = nullptr;
    QList<QPointer<QWidget>> m_disabledWidgets;
    QList<QPointer<QAction>> m_disabledActions;
    QPointer<QAbstractAnimation> m_transition;
    QPointer<QAbstractAnimation> m_shake;
    int m_duration = 220;
};

} // namespace qf
