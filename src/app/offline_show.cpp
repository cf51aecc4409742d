#include "offline_show.h"

#include "diagnostics/debug_logger.h"
#include "model/show_file_io.h"
#include "model/source_labels.h"
#include "served_show.h"
#include "editing/show_file_transfer.h"

#include <QSaveFile>

using namespace Qt::StringLiterals;

namespace quorvane {

std::unique_ptr<OfflineShow> OfflineShow::open(const QString& path, int csvButtonCount,
                                               QString& error)
{
    const ImportFile read = readImportFile(path, csvButtonCount);
    if (!read.file) {
        error = read.refusal;
        return nullptr;
    }
    emulator::ServedShow served = emulator::serveShowFile(*read.file);
    emulator::FrameEmulatorOptions options;
    options.identity = served.identity;
    auto frame = std::make_unique<emulator::FrameEmulator>(options, std::move(served.show));
    if (!frame->start()) {
        error = u"The show's built-in frame could not start: "_s + frame->errorString() +
                u". Another program holds the frame ports 5000, 5001 and 5123 on this machine, "
                u"perhaps another Quorvane with the demo or a show open."_s;
        return nullptr;
    }
    return std::unique_ptr<OfflineShow>(
        new OfflineShow(path, *read.file, std::move(frame), served.namesLeftOut));
}

OfflineShow::OfflineShow(QString path, ShowFile file,
                         std::unique_ptr<emulator::FrameEmulator> frame, int namesLeftOut)
    : m_path(std::move(path))
    , m_file(std::move(file))
    , m_frame(std::move(frame))
    , m_namesLeftOut(namesLeftOut)
{
    DebugLogger silent;
    silent.setEcho(nullptr);
    m_labels = loadInternalSourceLabels(defaultSourceLabelsLocations(), silent);
    connect(m_frame.get(), &emulator::FrameEmulator::writeApplied, this,
            [this] { setModified(true); });
}

OfflineShow::~OfflineShow() = default;

ShowFile OfflineShow::editedShow() const
{
    ShowFile edited = m_file;
    edited.buttons =
        emulator::assignedButtons(m_frame->show(), m_file.buttonCount, [this](qint64 source) {
            return source >= firstSourceNumber && source <= lastSourceNumber
                       ? displayName(int(source), m_file.sources, m_labels).value_or(QString())
                       : QString();
        });
    return edited;
}

std::optional<QString> OfflineShow::save(const QString& path)
{
    const ShowFile edited = editedShow();
    const QByteArray bytes = isCsvShowFile(path) ? writeShowCsv(edited) : writeShowJson(edited);
    QSaveFile out(path);
    if (!out.open(QIODevice::WriteOnly) || out.write(bytes) != bytes.size() || !out.commit())
        return u"Could not write "_s + path + u": "_s + out.errorString();
    m_path = path;
    m_file = edited;
    setModified(false);
    return std::nullopt;
}

void OfflineShow::setModified(bool modified)
{
    if (m_modified == modified)
        return;
    m_modified = modified;
    Q_EMIT modifiedChanged();
}

} // namespace quorvane
