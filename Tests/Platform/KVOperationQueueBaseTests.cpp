// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "KVBaseOperationQueue.h"
#include "KVInvocationOperation.h"
#include "KVObservable.h"
#include "KVParallelFor.h"
#include "KVTestSupport.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <mutex>
#include <thread>

namespace {

// Records key paths; a queue's operation count as its number.
struct Recorder : KVObserver {
    void observeValueForKeyPath(const QString &keyPath, KVObservable *object) override {
        std::lock_guard lock(mutex);
        const auto queue = dynamic_cast<KVBaseOperationQueue *>(object);
        keys << (queue ? QString::number(queue->operationCount()) : keyPath);
    }
    std::mutex mutex;
    QStringList keys;
};

// Operations that run until the shared gate opens, counting how many run at once.
struct GatedQueue {
    KVBaseOperationQueue queue;
    const int width;
    std::atomic<int> running{0}, tooMany{0}, started{0};
    std::atomic<bool> open{false};
    std::vector<std::shared_ptr<KVOperation>> operations;
    GatedQueue(int width, bool suspended)
        : width(width) {
        queue.setMaxConcurrentOperationCount(width);
        queue.setSuspended(suspended);
    }
    void add(int count) {
        for (int i = 0; i < count; ++i)
            queue.addOperation(
                operations.emplace_back(std::make_shared<KVInvocationOperation>([this] {
                    ++started;
                    tooMany += ++running > width;
                    while (!open)
                        std::this_thread::sleep_for(std::chrono::milliseconds(1));
                    --running;
                    return QVariant();
                })));
    }
};

class Derived : public KVObservable {
public:
    QStringList keyPathsForValuesAffectingValueForKey(const QString &key) const override {
        if (key == "enabled")
            return {"possible", "busy"};
        return key == "possible" ? QStringList{"files", "etalon"} : QStringList{};
    }
    using KVObservable::didChangeValueForKey;
};

} // namespace

TEST(KVBaseOperationQueue, RunsAtMostTheAllowedNumberAtOnceAndAnnouncesEachEndOnce) {
    Recorder recorder, finished;
    GatedQueue gated(2, false);
    gated.queue.addObserver(&recorder, "operationCount");
    gated.add(5);
    gated.operations[0]->addObserver(&finished, "isFinished");
    ASSERT_TRUE(KVTest::waitFor([&] { return gated.running == 2; }));
    EXPECT_EQ(gated.queue.operationCount(), 5);
    gated.open = true;
    gated.queue.waitUntilAllOperationsAreFinished();
    EXPECT_EQ(gated.tooMany.load(), 0);
    gated.queue.removeObserver(&recorder);
    // Announced before the waiter is released.
    EXPECT_EQ(recorder.keys.value(recorder.keys.size() - 1), "0");
    EXPECT_EQ(finished.keys, QStringList{"isFinished"});
}

TEST(KVBaseOperationQueue, SuspendedQueueStartsNothingAndCancelledOperationsNeverRun) {
    GatedQueue gated(1, true);
    gated.add(4);
    EXPECT_FALSE(
        KVTest::waitFor([&] { return gated.running > 0; }, std::chrono::milliseconds(200)));
    gated.operations[1]->cancel(); // while waiting
    gated.queue.setSuspended(false);
    ASSERT_TRUE(KVTest::waitFor([&] { return gated.running == 1; }));
    // Reaches the running operation and those still waiting.
    gated.queue.cancelAllOperations();
    for (const auto &operation : gated.operations)
        EXPECT_TRUE(operation->isCancelled());
    gated.open = true;
    gated.queue.waitUntilAllOperationsAreFinished();
    EXPECT_EQ(gated.started.load(), 1);
}

TEST(KVObservable, ChangesReachDependentKeysThroughEveryLevelAndObserversMayLeaveWhenCalled) {
    Derived object;
    Recorder recorder;
    for (const char *key : {"enabled", "possible", "files"})
        object.addObserver(&recorder, key);
    object.didChangeValueForKey("files");
    EXPECT_EQ(recorder.keys, QStringList({"enabled", "possible", "files"}));
    object.removeObserver(&recorder, "enabled");
    object.didChangeValueForKey("etalon");
    object.removeObserver(&recorder);
    object.didChangeValueForKey("files");
    EXPECT_EQ(recorder.keys, QStringList({"enabled", "possible", "files", "possible"}));

    struct OneShot : KVObserver {
        void observeValueForKeyPath(const QString &keyPath, KVObservable *object) override {
            ++calls;
            object->removeObserver(this, keyPath);
        }
        int calls = 0;
    } oneShot;
    object.addObserver(&oneShot, "files");
    object.didChangeValueForKey("files");
    object.didChangeValueForKey("files");
    EXPECT_EQ(oneShot.calls, 1);
}

// A worker keeps changing a key while the main thread registers observers, removes them and
// destroys them at once: no call may reach an observer after its removal returned (under
// AddressSanitizer a late call would also be a use after free).
TEST(KVObservable, NoCallReachesAnObserverAfterItsRemovalReturned) {
    struct Slow : KVObserver {
        void observeValueForKeyPath(const QString &, KVObservable *) override {
            if (removed.load())
                ++lateCalls;
            ++calls;
            // A call long enough for the removal to come while it runs.
            std::this_thread::yield();
            std::this_thread::yield();
        }
        std::atomic<bool> removed{false};
        std::atomic<int> calls{0};
        std::atomic<int> &lateCalls;
        explicit Slow(std::atomic<int> &late)
            : lateCalls(late) {}
    };
    Derived object;
    std::atomic<bool> stop{false};
    std::atomic<int> lateCalls{0};
    std::thread worker([&] {
        while (!stop)
            object.didChangeValueForKey("files");
    });
    for (int round = 0; round < 200; ++round) {
        auto observer = std::make_unique<Slow>(lateCalls);
        object.addObserver(observer.get(), "possible");
        ASSERT_TRUE(KVTest::waitFor([&] { return observer->calls.load() > 0; }));
        object.removeObserver(observer.get(), "possible");
        observer->removed = true;
        const int callsAtRemoval = observer->calls.load();
        observer.reset();
        EXPECT_GE(callsAtRemoval, 1);
    }
    stop = true;
    worker.join();
    EXPECT_EQ(lateCalls.load(), 0);
}

TEST(KVParallelFor, VisitsEveryIndexExactlyOnce) {
    for (size_t count : {size_t(0), size_t(1), size_t(1000)}) {
        std::vector<std::atomic<int>> visits(count);
        KVParallelFor(count, [&](size_t i) { ++visits[i]; });
        for (size_t i = 0; i < count; ++i)
            EXPECT_EQ(visits[i].load(), 1) << i;
    }
}
