#include "KVBrowserToolModel.h"

#include "KVCameraBrowser.h"

#include <cstdio>

namespace {

void printLine(const QString &text) {
    std::fprintf(stderr, "%s\n", text.toLocal8Bit().constData());
}

} // namespace

KVBrowserToolModel::KVBrowserToolModel(KVCameraBrowser *browser)
    : m_browser(browser)
    , m_model(this) {
}

int KVBrowserToolModel::numberOfCamerasInBrowser(KVCameraBrowser *) {
    return m_model.numberOfCamerasInBrowser();
}

QString KVBrowserToolModel::nameForCameraWithIndex(KVCameraBrowser *, int index) {
    return m_model.nameForCameraWithIndex(index);
}

QString KVBrowserToolModel::toolTipForCameraWithIndex(KVCameraBrowser *, int index) {
    return m_model.toolTipForCameraWithIndex(index);
}

std::vector<std::shared_ptr<KVImageDataSource>>
KVBrowserToolModel::imagesForCameraWithIndex(KVCameraBrowser *, int index) {
    const std::vector<KVImageFileRef> &files = m_model.imagesForCameraWithIndex(index);
    return {files.begin(), files.end()};
}

bool KVBrowserToolModel::isProcessingPathes() const {
    return m_model.isProcessingPathes();
}

void KVBrowserToolModel::addNewFilesFromURLs(const QList<QUrl> &urls) {
    m_model.addNewFilesFromURLs(urls);
}

void KVBrowserToolModel::reloadBrowser() {
    KVHeadlessUserInterface::reloadBrowser();
    m_browser->reload();
    printLine(QStringLiteral("%1 cameras").arg(m_model.numberOfCamerasInBrowser()));
}

void KVBrowserToolModel::displayString(const QString &text) {
    KVHeadlessUserInterface::displayString(text);
    printLine(text);
}

void KVBrowserToolModel::showFileReport(FileReportType type, const QList<QVariantMap> &records) {
    KVHeadlessUserInterface::showFileReport(type, records);
    for (const QVariantMap &record : records) {
        printLine(QStringLiteral("not added: %1 (%2)")
                      .arg(record.value(QStringLiteral("path")).toString(),
                           record.value(QStringLiteral("error")).toString()));
    }
}
