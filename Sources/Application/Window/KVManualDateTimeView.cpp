// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "KVManualDateTimeView.h"

#include "KVDispatch.h"
#include "KVManualDateTimeViewController.h"
#include "ui_KVManualDateTimeView.h"

#include <QPointer>
#include <QScreen>
#include <QSignalBlocker>

namespace {

const QStringList &observedKeys() {
    static const QStringList keys{QStringLiteral("date"), QStringLiteral("time"),
                                  QStringLiteral("isEtalonDateSet")};
    return keys;
}

} // namespace

KVManualDateTimeView::KVManualDateTimeView(KVManualDateTimeViewController &controller,
                                           QWidget *parent)
    : QWidget(parent, Qt::Popup | Qt::FramelessWindowHint)
    , m_controller(controller)
    , m_ui(std::make_unique<Ui::KVManualDateTimeView>()) {
    m_ui->setupUi(this);
    updateControls();
    connect(m_ui->dateControl, &QDateEdit::dateChanged, this,
            &KVManualDateTimeView::dateControlDidChange);
    connect(m_ui->timeControl, &QTimeEdit::timeChanged, this,
            &KVManualDateTimeView::timeControlDidChange);
    connect(m_ui->manualModeCheckBox, &QCheckBox::toggled, this,
            [this](bool checked) { m_controller.setIsEtalonDateSet(checked); });
    for (const QString &key : observedKeys())
        m_controller.addObserver(this, key);
}

KVManualDateTimeView::~KVManualDateTimeView() {
    m_controller.removeObserver(this);
}

QDateEdit *KVManualDateTimeView::dateControl() const {
    return m_ui->dateControl;
}
QTimeEdit *KVManualDateTimeView::timeControl() const {
    return m_ui->timeControl;
}
QCheckBox *KVManualDateTimeView::manualModeCheckBox() const {
    return m_ui->manualModeCheckBox;
}

void KVManualDateTimeView::observeValueForKeyPath(const QString &, KVObservable *) {
    if (KVIsMainThread()) {
        updateControls();
        return;
    }
    KVDispatchMain([view = QPointer<KVManualDateTimeView>(this)] {
        if (view)
            view->updateControls();
    });
}

void KVManualDateTimeView::updateControls() {
    // The pickers only follow here; they must not write the value straight back.
    const QSignalBlocker blockDate(m_ui->dateControl);
    const QSignalBlocker blockTime(m_ui->timeControl);
    const QSignalBlocker blockCheckBox(m_ui->manualModeCheckBox);
    const QDateTime date = m_controller.date().toLocalTime();
    if (date.isValid())
        m_ui->dateControl->setDate(date.date());
    const QDateTime time = m_controller.time().toLocalTime();
    if (time.isValid())
        m_ui->timeControl->setTime(time.time());
    m_ui->manualModeCheckBox->setChecked(m_controller.isEtalonDateSet());
}

void KVManualDateTimeView::dateControlDidChange(const QDate &date) {
    // The date picker's value keeps its time of day; only the day is read from it.
    const QDateTime previous = m_controller.date().toLocalTime();
    const QTime timeOfDay = previous.isValid() ? previous.time() : QTime(12, 0);
    m_controller.setDate(QDateTime(date, timeOfDay));
}

void KVManualDateTimeView::timeControlDidChange(const QTime &time) {
    // Likewise the time picker keeps its day; only the time of day is read from it.
    const QDateTime previous = m_controller.time().toLocalTime();
    const QDate day = previous.isValid() ? previous.date() : m_ui->dateControl->date();
    m_controller.setTime(QDateTime(day, time));
}

QPoint KVManualDateTimeView::popupPosition(const QRect &buttonRect, const QSize &popupSize,
                                           const QRect &screenRect) {
    QPoint position(buttonRect.x() + (buttonRect.width() - popupSize.width()) / 2,
                    buttonRect.bottom() + 1);
    if (position.y() + popupSize.height() > screenRect.bottom() + 1)
        position.setY(buttonRect.top() - popupSize.height());
    position.setX(qBound(screenRect.left(), position.x(),
                         qMax(screenRect.left(), screenRect.right() + 1 - popupSize.width())));
    position.setY(qMax(screenRect.top(), position.y()));
    return position;
}

void KVManualDateTimeView::showBelow(QWidget *button) {
    if (m_willShow)
        m_willShow();
    adjustSize();
    if (button) {
        const QRect buttonRect(button->mapToGlobal(QPoint(0, 0)), button->size());
        const QScreen *screen = button->screen();
        const QRect screenRect = screen ? screen->availableGeometry() : QRect();
        move(screenRect.isValid() ? popupPosition(buttonRect, size(), screenRect)
                                  : QPoint(buttonRect.left(), buttonRect.bottom() + 1));
    }
    show();
    m_ui->dateControl->setFocus(Qt::PopupFocusReason);
}
