// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#pragma once

#include "KVObservable.h"

#include <QMargins>
#include <QPainterPath>
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
    // Opens under the button with its arrow pointing at it, kept inside the button's screen.
    void showBelow(QWidget *button);
    // Where a popup of that size goes for a button at that global rectangle: it hangs from the
    // button's lower edge and reaches out to the left, away from the display on the button's
    // right, whose date it would otherwise cover; above the button when there is no room below.
    static QPoint popupPosition(const QRect &buttonRect, const QSize &popupSize,
                                const QRect &screenRect);
    // The arrow's tip, in the popup's coordinates, and whether it points up.
    QPoint arrowTip() const { return m_arrowTip; }
    bool arrowPointsUp() const { return m_arrowUp; }
    static constexpr int arrowHeight = 10;

    void observeValueForKeyPath(const QString &keyPath, KVObservable *object) override;

protected:
    void paintEvent(QPaintEvent *event) override;
    void resizeEvent(QResizeEvent *event) override;

private:
    QPainterPath outline() const;
    void placeArrow(bool up);

    void updateControls();
    void dateControlDidChange(const QDate &date);
    void timeControlDidChange(const QTime &time);

    KVManualDateTimeViewController &m_controller;
    std::unique_ptr<Ui::KVManualDateTimeView> m_ui;
    std::function<void()> m_willShow;
    QPoint m_arrowTip;
    bool m_arrowUp = true;
    QMargins m_baseMargins;
};
