// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "KVManualDateTimeView.h"

#include "KVWallClock.h"

#include "KVDispatch.h"
#include "KVKeyPath.h"
#include "KVManualDateTimeViewController.h"
#include "ui_KVManualDateTimeView.h"

#include <QLayout>
#include <QPainter>
#include <QPointer>
#include <QScreen>
#include <QSignalBlocker>

namespace {

// The popup's look: a rounded frame and an arrow from its edge to the button.
constexpr int kKVFrameRadius = 6;
constexpr int kKVArrowHalfWidth = 9;
// How far the popup reaches right of the button's right edge, so the arrow is not on a corner.
constexpr int kKVArrowInset = 14;

const QStringList &observedKeys() {
    static const QStringList keys{KVKeyPath::date, KVKeyPath::time, KVKeyPath::isEtalonDateSet};
    return keys;
}

} // namespace

KVManualDateTimeView::KVManualDateTimeView(KVManualDateTimeViewController &controller,
                                           QWidget *parent)
    : QWidget(parent, Qt::Popup | Qt::FramelessWindowHint)
    , m_controller(controller)
    , m_ui(std::make_unique<Ui::KVManualDateTimeView>()) {
    m_ui->setupUi(this);
    m_baseMargins = layout()->contentsMargins();
    placeArrow(true);
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
    const QDateTime date = m_controller.date().toUTC();
    if (date.isValid())
        m_ui->dateControl->setDate(date.date());
    const QDateTime time = m_controller.time().toUTC();
    if (time.isValid())
        m_ui->timeControl->setTime(time.time());
    m_ui->manualModeCheckBox->setChecked(m_controller.isEtalonDateSet());
}

void KVManualDateTimeView::dateControlDidChange(const QDate &date) {
    // The date picker's value keeps its time of day; only the day is read from it.
    const QDateTime previous = m_controller.date().toUTC();
    const QTime timeOfDay = previous.isValid() ? previous.time() : QTime(12, 0);
    m_controller.setDate(KVWallClock::fromFields(date, timeOfDay));
}

void KVManualDateTimeView::timeControlDidChange(const QTime &time) {
    // Likewise the time picker keeps its day; only the time of day is read from it.
    const QDateTime previous = m_controller.time().toUTC();
    const QDate day = previous.isValid() ? previous.date() : m_ui->dateControl->date();
    m_controller.setTime(KVWallClock::fromFields(day, time));
}

QPoint KVManualDateTimeView::popupPosition(const QRect &buttonRect, const QSize &popupSize,
                                           const QRect &screenRect) {
    QPoint position(buttonRect.right() + 1 + kKVArrowInset - popupSize.width(),
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
    placeArrow(true);
    adjustSize();
    if (button) {
        const QRect buttonRect(button->mapToGlobal(QPoint(0, 0)), button->size());
        const QScreen *screen = button->screen();
        const QRect screenRect = screen ? screen->availableGeometry() : QRect();
        const QPoint position = screenRect.isValid()
                                    ? popupPosition(buttonRect, size(), screenRect)
                                    : QPoint(buttonRect.left(), buttonRect.bottom() + 1);
        move(position);
        const bool up = position.y() > buttonRect.top();
        placeArrow(up);
        const int tipX =
            qBound(kKVFrameRadius + kKVArrowHalfWidth, buttonRect.center().x() - position.x(),
                   width() - kKVFrameRadius - kKVArrowHalfWidth);
        m_arrowTip = QPoint(tipX, up ? 0 : height() - 1);
        setMask(QRegion(outline().toFillPolygon().toPolygon()));
    }
    show();
    m_ui->dateControl->setFocus(Qt::PopupFocusReason);
}

void KVManualDateTimeView::placeArrow(bool up) {
    // The arrow takes its height from the side it is on; the pickers keep their own margins.
    m_arrowUp = up;
    QMargins margins = m_baseMargins;
    if (up)
        margins.setTop(margins.top() + arrowHeight);
    else
        margins.setBottom(margins.bottom() + arrowHeight);
    layout()->setContentsMargins(margins);
    if (m_arrowTip.isNull())
        m_arrowTip = QPoint(width() - kKVArrowInset, up ? 0 : height() - 1);
}

QPainterPath KVManualDateTimeView::outline() const {
    const QRectF body = QRectF(rect()).adjusted(0.5, m_arrowUp ? arrowHeight + 0.5 : 0.5, -0.5,
                                                m_arrowUp ? -0.5 : -arrowHeight - 0.5);
    QPainterPath path;
    path.addRoundedRect(body, kKVFrameRadius, kKVFrameRadius);
    const double base = m_arrowUp ? body.top() + 1.0 : body.bottom() - 1.0;
    QPainterPath arrow;
    arrow.moveTo(m_arrowTip.x() - kKVArrowHalfWidth, base);
    arrow.lineTo(m_arrowTip.x() + 0.5, m_arrowUp ? 0.5 : height() - 0.5);
    arrow.lineTo(m_arrowTip.x() + kKVArrowHalfWidth + 1, base);
    arrow.closeSubpath();
    return path.united(arrow);
}

void KVManualDateTimeView::paintEvent(QPaintEvent *) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(QPen(palette().color(QPalette::Mid), 1.0));
    painter.setBrush(palette().color(QPalette::Window));
    painter.drawPath(outline());
}

void KVManualDateTimeView::resizeEvent(QResizeEvent *event) {
    QWidget::resizeEvent(event);
    setMask(QRegion(outline().toFillPolygon().toPolygon()));
}
