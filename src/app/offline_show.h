#pragma once

#include "frame_emulator.h"
#include "model/show_file.h"
#include "model/source_name.h"

#include <QObject>
#include <memory>
#include <optional>

namespace quorvane {

// A show file opened away from the frame. The built-in emulated frame serves it on 127.0.0.1,
// so that the grid, picker, sandbox and undo work on it as on a real frame; every write the
// frame takes marks the show edited, and saving writes the frame's table back to the file.
class OfflineShow : public QObject {
    Q_OBJECT

public:
    // Reads `path` (a CSV file at `csvButtonCount`) and starts the frame serving it. None, with
    // the reason, when the file cannot be read or the frame's ports are taken.
    static std::unique_ptr<OfflineShow> open(const QString& path, int csvButtonCount,
                                             QString& error);
    ~OfflineShow() override;

    const QString& path() const { return m_path; }
    const ShowFile& file() const { return m_file; }
    bool isModified() const { return m_modified; }
    // Source names the frame's messages cannot carry: the file keeps them, the grid lacks them.
    int namesLeftOut() const { return m_namesLeftOut; }

    // The show as edited: the frame's table at the file's button count, the file's names.
    ShowFile editedShow() const;
    // Writes the edited show to `path` (CSV for a name ending in ".csv", else JSON), beside
    // the old file and in its place only when whole; it becomes the show's file. The reason on
    // failure.
    std::optional<QString> save(const QString& path);

Q_SIGNALS:
    void modifiedChanged();

private:
    OfflineShow(QString path, ShowFile file, std::unique_ptr<emulator::FrameEmulator> frame,
                int namesLeftOut);
    void setModified(bool modified);

    QString m_path;
    ShowFile m_file;
    std::unique_ptr<emulator::FrameEmulator> m_frame;
    int m_namesLeftOut = 0;
    InternalSourceLabels m_labels;
    bool m_modified = false;
};

} // namespace quorvane
