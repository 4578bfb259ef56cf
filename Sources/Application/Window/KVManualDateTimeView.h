// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#pragma once

#include "KVObservable.h"

#include <QWidget>

#include <functional>
#include <memory>

class KVManualDateTimeViewController;
class QCheckBox;
class QDateEdit;
class QTimeEdit;

namespace Ui {
class KVManualDateTimeView;
}

// The popover's face: the date picker, the time picker and the manual-mode check box, bound
// both ways to the controller, which stays the one place the base date lives. It opens as a
// popup below the round clock button and goes away on a click elsewhere.
class KVManualDateTimeView : public QWidget, public KVObserver {
    Q_OBJECT

public:
    // The controller must outlive the view.
    explicit KVManualDateTimeView(KVManualDateTimeViewController &controller,
                                  QWidget *parent = nullptr);
    ~KVManualDateTimeView() override;

    QDateEdit *dateControl() const;
    QTimeEdit *timeControl() const;
    QCheckBox *manualModeCheckBox() const;

    // Runs just before the popup shows, so that the delegate can put the pickers on the
    // reference's date first.
    void setWillShowHandler(std::function<void()> handler) { m_willShow = std::move(handler); }
    // Opens under the button, centred on it, kept inside the button's screen.
    void showBelow(QWidget *button);
    // Where a popup of that size goes for a button at that global rectangle.
    static QPoint popupPosition(const QRect &buttonRect, const QSize &popupSize,
                                const QRect &screenRect);

    void observeValueForKeyPath(const QString &keyPath, KVObservable *object) override;

private:
    void updateControls();
    void dateControlDidChange(const QDate &date);
    void timeControlDidChange(const QTime &time);

    KVManualDateTimeViewController &m_controller;
    std::unique_ptr<Ui::KVManualDateTimeView> m_ui;
    std::function<void()> m_willShow;
};
