// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "KVUndoManager.h"

#include "KVKeyPath.h"

void KVUndoManager::registerUndo(std::function<void()> action) {
    if (m_undoing) {
        m_redoStack.push_back(std::move(action));
    } else {
        if (!m_redoing)
            m_redoStack.clear();
        m_undoStack.push_back(std::move(action));
    }
    announce();
}

void KVUndoManager::undo() {
    if (m_undoStack.empty() || m_undoing || m_redoing)
        return;
    std::function<void()> action = std::move(m_undoStack.back());
    m_undoStack.pop_back();
    m_undoing = true;
    action();
    m_undoing = false;
    announce();
}

void KVUndoManager::redo() {
    if (m_redoStack.empty() || m_undoing || m_redoing)
        return;
    std::function<void()> action = std::move(m_redoStack.back());
    m_redoStack.pop_back();
    m_redoing = true;
    action();
    m_redoing = false;
    announce();
}

void KVUndoManager::removeAllActions() {
    m_undoStack.clear();
    m_redoStack.clear();
    announce();
}

void KVUndoManager::announce() {
    didChangeValueForKey(KVKeyPath::canUndo);
    didChangeValueForKey(KVKeyPath::canRedo);
}
