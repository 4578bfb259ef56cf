#include "KVToolBar.h"

KVToolBar::KVToolBar(QWidget *parent)
    : QWidget(parent) {
}
