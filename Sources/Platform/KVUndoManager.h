// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#pragma once

#include "KVObservable.h"

#include <functional>
#include <vector>

// A stack of recorded calls. A call registered while undoing becomes the redo step; one
// registered while redoing, or outside both, becomes an undo step (a fresh one outside both
// also forgets the redo steps). Observable keys: "canUndo", "canRedo".
class KVUndoManager : public KVObservable {
public:
    void registerUndo(std::function<void()> action);
    void undo();
    void redo();
    bool isUndoing() const { return m_undoing; }
    bool isRedoing() const { return m_redoing; }
    bool canUndo() const { return !m_undoStack.empty(); }
    bool canRedo() const { return !m_redoStack.empty(); }
    void removeAllActions();

private:
    void announce();

    std::vector<std::function<void()>> m_undoStack;
    std::vector<std::function<void()>> m_redoStack;
    bool m_undoing = false;
    bool m_redoing = false;
};
