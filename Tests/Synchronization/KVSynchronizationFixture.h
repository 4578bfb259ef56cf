#pragma once

#include "KVImageFile.h"

#include <QByteArray>
#include <QMap>
#include <QString>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <functional>
#include <thread>
#include <vector>

// Photos copied from the samples into a private folder, the writer pointed at the real tool or
// at small stand-ins written as shell scripts, and ways to look at the files from outside.
class KVSynchronizationFixture : public ::testing::Test {
protected:
    void SetUp() override;
    void TearDown() override;

    // count records made from copies of the dated sample photos, each copy its own file.
    std::vector<KVImageFileRef> makePhotos(int count, const QString &prefix = QStringLiteral("p"));
    QString writeTool(const QString &name, const QString &script);
    void useTool(const QString &path);

    // A stand-in that lets the first `passing` runs through to the real tool; later runs wait
    // until the gate opens, then fail without touching the file. Once the gate is open, new
    // runs go straight through.
    QString gatedTool(int passing);
    void openGate();
    int gatedRunCount() const;
    // Opens the gate from another thread as soon as the condition holds.
    void openGateWhen(std::function<bool()> condition);

    // DateTimeOriginal of each file as the real tool reads it, by path.
    static QMap<QString, QString> diskDates(const std::vector<KVImageFileRef> &photos);
    static QString shifted(const QString &dateText, double seconds);
    static QMap<QString, QString> shiftedDates(const QMap<QString, QString> &dates, double seconds);
    static QMap<QString, QByteArray> contents(const std::vector<KVImageFileRef> &photos);

    // Declared after a queue, opens the gate before the queue waits for its workers, so that a
    // failed assertion never waits on runs held at the gate.
    struct GateOpenedOnExit {
        KVSynchronizationFixture *fixture;
        ~GateOpenedOnExit() { fixture->openGate(); }
    };

    QTemporaryDir m_folder;

private:
    QByteArray m_savedRuntimeDir;
    std::thread m_gateOpener;
};
