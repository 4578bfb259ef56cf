#pragma once

#include <QApplication>
#include <QEnterEvent>
#include <QWidget>

// Offscreen widgets get no real pointer: entering and leaving are told to them directly.
inline void KVHover(QWidget &widget, bool inside) {
    if (inside) {
        QEnterEvent enter(QPointF(5, 5), QPointF(5, 5), QPointF(5, 5));
        QApplication::sendEvent(&widget, &enter);
    } else {
        QEvent leave(QEvent::Leave);
        QApplication::sendEvent(&widget, &leave);
    }
}
