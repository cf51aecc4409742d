// How fast the desktop program comes up: the time from starting the `quorvane` process to the
// first paint of its main window, and its resident memory at that moment, without and with the
// built-in demo frame (goals ≤ 500 ms and ≤ 60 MB). The program says when it has painted
// (--report-first-paint); its memory is read from /proc/<pid>/status as soon as it has.
//
//   startup_bench [path to quorvane] [runs]
//
// The window system is the offscreen one unless QT_QPA_PLATFORM says otherwise. The demo runs
// bind the emulated frame's UDP ports 5000, 5001 and 5123.
#include <QCoreApplication>
#include <QCoroProcess>
#include <QCoroTask>
#include <QElapsedTimer>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <optional>
#include <vector>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

// What the program prints once its main window has painted.
const QByteArray firstPaintLine = QByteArrayLiteral("quorvane: first paint\n");

struct Sample {
    double milliseconds = 0;
    double megabytes = 0;
};

// VmRSS of a running process, in MB (10^6 bytes).
std::optional<double> residentMegabytes(qint64 pid)
{
    QFile status(u"/proc/%1/status"_s.arg(pid));
    if (!status.open(QIODevice::ReadOnly))
        return std::nullopt;
    for (const QByteArray& line : status.readAll().split('\n')) {
        if (line.startsWith("VmRSS:")) // "VmRSS:     51234 kB"
            return line.mid(6).trimmed().split(' ').first().toDouble() * 1024 / 1e6;
    }
    return std::nullopt;
}

QProcessEnvironment benchEnvironment(const QString& configHome)
{
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    if (!environment.contains(u"QT_QPA_PLATFORM"_s))
        environment.insert(u"QT_QPA_PLATFORM"_s, u"offscreen"_s);
    // A fresh configuration each time: no remembered frame address, as on a first start.
    environment.insert(u"XDG_CONFIG_HOME"_s, configHome);
    return environment;
}

QCoro::Task<std::optional<Sample>> startOnce(const QString& program, const QStringList& arguments)
{
    QTemporaryDir configHome;
    QProcess app;
    app.setProcessEnvironment(benchEnvironment(configHome.path()));
    QElapsedTimer clock;
    clock.start();
    // Built before the co_await: GCC 12 rejects a braced list inside the awaited expression.
    const QStringList reporting = arguments + QStringList{u"--report-first-paint"_s};
    if (!co_await qCoro(app).start(program, reporting)) {
        std::fprintf(stderr, "cannot start %s: %s\n", qPrintable(program),
                     qPrintable(app.errorString()));
        co_return std::nullopt;
    }
    QByteArray output;
    while (!output.contains(firstPaintLine)) {
        if (app.state() != QProcess::Running || !co_await qCoro(app).waitForReadyRead(20s)) {
            std::fprintf(stderr, "no first paint reported; the program said:\n%s%s\n",
                         output.constData(), app.readAllStandardError().constData());
            co_return std::nullopt;
        }
        output += app.readAllStandardOutput();
    }
    Sample sample;
    sample.milliseconds = double(clock.nsecsElapsed()) / 1e6;
    const std::optional<double> memory = residentMegabytes(app.processId());
    app.terminate();
    co_await qCoro(app).waitForFinished(10s);
    if (!memory)
        co_return std::nullopt;
    sample.megabytes = *memory;
    co_return sample;
}

void printFigures(const char* what, std::vector<Sample> samples)
{
    std::vector<double> times;
    std::vector<double> memory;
    for (const Sample& sample : samples) {
        times.push_back(sample.milliseconds);
        memory.push_back(sample.megabytes);
    }
    std::sort(times.begin(), times.end());
    std::sort(memory.begin(), memory.end());
    std::printf("%s, %zu starts:\n", what, samples.size());
    std::printf("  process start to first paint: median %.0f ms, worst %.0f ms (goal <= 500)\n",
                times[times.size() / 2], times.back());
    std::printf("  resident memory at first paint: median %.1f MB, worst %.1f MB (goal <= 60)\n",
                memory[memory.size() / 2], memory.back());
}

QCoro::Task<int> measure(QString program, int runs)
{
    std::printf("%s, QT_QPA_PLATFORM=%s\n", qPrintable(program),
                qPrintable(qEnvironmentVariable("QT_QPA_PLATFORM", u"offscreen"_s)));
    const std::pair<const char*, QStringList> modes[] = {
        {"without the demo frame", {}},
        {"with the demo frame (--demo)", {u"--demo"_s}},
    };
    for (const auto& [what, arguments] : modes) {
        std::vector<Sample> samples;
        // One start first, not counted, so that every counted one finds the files in the cache.
        for (int run = 0; run <= runs; ++run) {
            const std::optional<Sample> sample = co_await startOnce(program, arguments);
            if (!sample)
                co_return 1;
            if (run > 0)
                samples.push_back(*sample);
        }
        printFigures(what, samples);
    }
    co_return 0;
}

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication bench(argc, argv);
    const QStringList arguments = QCoreApplication::arguments();
    const QString program = arguments.value(1, QString::fromUtf8(QUORVANE_APP_PATH));
    const int runs = std::max(1, arguments.value(2, u"9"_s).toInt());
    QCoro::Task<int> run = measure(program, runs);
    QCoro::Task<> finish = run.then([](int status) {
        QMetaObject::invokeMethod(
            QCoreApplication::instance(), [status] { QCoreApplication::exit(status); },
            Qt::QueuedConnection);
    });
    return QCoreApplication::exec();
}
