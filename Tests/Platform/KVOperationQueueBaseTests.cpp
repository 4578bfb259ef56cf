#include "KVBaseOperationQueue.h"
#include "KVInvocationOperation.h"
#include "KVObservable.h"
#include "KVParallelFor.h"
#include "KVTestSupport.h"

#include <gtest/gtest.h>

#include <atomic>
#include <condition_variable>
#include <mutex>
#include <set>
#include <thread>

namespace {

// An operation that blocks until the test opens its gate.
class GatedOperation : public KVOperation {
public:
    explicit GatedOperation(std::atomic<int> &running, std::atomic<int> &peak)
        : m_running(running)
        , m_peak(peak) {}
    void open() {
        std::lock_guard lock(m_mutex);
        m_open = true;
        m_condition.notify_all();
    }
    bool ran = false;

protected:
    void main() override {
        ran = true;
        const int now = ++m_running;
        int peak = m_peak.load();
        while (now > peak && !m_peak.compare_exchange_weak(peak, now)) {
        }
        std::unique_lock lock(m_mutex);
        m_condition.wait(lock, [this] { return m_open; });
        --m_running;
    }

private:
    std::atomic<int> &m_running;
    std::atomic<int> &m_peak;
    std::mutex m_mutex;
    std::condition_variable m_condition;
    bool m_open = false;
};

class CountRecorder : public KVObserver {
public:
    void observeValueForKeyPath(const QString &keyPath, KVObservable *object) override {
        std::lock_guard lock(mutex);
        if (keyPath == "operationCount")
            counts.push_back(static_cast<KVBaseOperationQueue *>(object)->operationCount());
        else
            keys << keyPath;
    }
    std::mutex mutex;
    std::vector<int> counts;
    QStringList keys;
};

} // namespace

TEST(KVBaseOperationQueue, RunsAtMostTheAllowedNumberAtOnceAndReportsTheCountDownToZero) {
    std::atomic<int> running{0}, peak{0};
    KVBaseOperationQueue queue;
    queue.setMaxConcurrentOperationCount(2);
    CountRecorder recorder;
    queue.addObserver(&recorder, "operationCount");
    std::vector<std::shared_ptr<GatedOperation>> operations;
    for (int i = 0; i < 5; ++i) {
        operations.push_back(std::make_shared<GatedOperation>(running, peak));
        queue.addOperation(operations.back());
    }
    ASSERT_TRUE(KVTest::waitFor([&] { return running.load() == 2; }));
    EXPECT_EQ(queue.operationCount(), 5);
    for (auto &operation : operations)
        operation->open();
    queue.waitUntilAllOperationsAreFinished();
    EXPECT_EQ(peak.load(), 2);
    EXPECT_EQ(queue.operationCount(), 0);
    std::lock_guard lock(recorder.mutex);
    ASSERT_FALSE(recorder.counts.empty());
    EXPECT_EQ(recorder.counts.back(), 0);
    queue.removeObserver(&recorder);
}

TEST(KVBaseOperationQueue, SuspendedQueueStartsNothingAndCancelledOperationsNeverRun) {
    std::atomic<int> running{0}, peak{0};
    KVBaseOperationQueue queue;
    queue.setMaxConcurrentOperationCount(1);
    queue.setSuspended(true);
    std::vector<std::shared_ptr<GatedOperation>> operations;
    for (int i = 0; i < 4; ++i) {
        operations.push_back(std::make_shared<GatedOperation>(running, peak));
        queue.addOperation(operations.back());
    }
    EXPECT_FALSE(
        KVTest::waitFor([&] { return running.load() > 0; }, std::chrono::milliseconds(200)));
    operations[1]->cancel(); // while waiting
    queue.setSuspended(false);
    ASSERT_TRUE(KVTest::waitFor([&] { return running.load() == 1; }));
    // Cancelling all reaches the running operation and those still waiting.
    queue.cancelAllOperations();
    for (const auto &operation : operations)
        EXPECT_TRUE(operation->isCancelled());
    operations[0]->open();
    queue.waitUntilAllOperationsAreFinished();
    for (size_t i = 1; i < operations.size(); ++i)
        EXPECT_TRUE(operations[i]->isFinished() && !operations[i]->ran) << i;
}

TEST(KVInvocationOperation, KeepsItsResultAndAnnouncesTheEndOnce) {
    KVBaseOperationQueue queue;
    auto operation = std::make_shared<KVInvocationOperation>([] { return QVariant(42); });
    CountRecorder recorder;
    operation->addObserver(&recorder, "isFinished");
    queue.addOperation(operation);
    operation->waitUntilFinished();
    queue.waitUntilAllOperationsAreFinished();
    EXPECT_EQ(operation->result().toInt(), 42);
    EXPECT_EQ(recorder.keys, QStringList({"isFinished"}));
}

namespace {

class Derived : public KVObservable {
public:
    QStringList keyPathsForValuesAffectingValueForKey(const QString &key) const override {
        if (key == "enabled")
            return {"possible", "busy"};
        if (key == "possible")
            return {"files", "etalon"};
        return {};
    }
    using KVObservable::didChangeValueForKey;
};

} // namespace

TEST(KVObservable, ChangesReachDependentKeysThroughEveryLevel) {
    Derived object;
    CountRecorder recorder;
    object.addObserver(&recorder, "enabled");
    object.addObserver(&recorder, "possible");
    object.addObserver(&recorder, "files");
    object.didChangeValueForKey("files");
    EXPECT_EQ(recorder.keys, QStringList({"enabled", "possible", "files"}));
    recorder.keys.clear();
    object.didChangeValueForKey("busy");
    EXPECT_EQ(recorder.keys, QStringList({"enabled"}));
    recorder.keys.clear();
    object.removeObserver(&recorder, "enabled");
    object.didChangeValueForKey("etalon");
    EXPECT_EQ(recorder.keys, QStringList({"possible"}));
    object.removeObserver(&recorder);
    object.didChangeValueForKey("files");
    EXPECT_EQ(recorder.keys, QStringList({"possible"}));
}

TEST(KVObservable, ObserversMayUnregisterThemselvesWhileBeingNotified) {
    class OneShot : public KVObserver {
    public:
        void observeValueForKeyPath(const QString &keyPath, KVObservable *object) override {
            ++calls;
            object->removeObserver(this, keyPath);
        }
        int calls = 0;
    } observer;
    Derived object;
    object.addObserver(&observer, "files");
    object.didChangeValueForKey("files");
    object.didChangeValueForKey("files");
    EXPECT_EQ(observer.calls, 1);
}

TEST(KVParallelFor, VisitsEveryIndexExactlyOnce) {
    for (size_t count : {size_t(0), size_t(1), size_t(7), size_t(1000)}) {
        std::vector<std::atomic<int>> visits(count);
        KVParallelFor(count, [&](size_t i) { ++visits[i]; });
        for (size_t i = 0; i < count; ++i)
            EXPECT_EQ(visits[i].load(), 1) << i;
    }
}
