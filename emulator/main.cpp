// quorvane-frame-emulator: plays a K-Frame on the local machine, so that Quorvane can be tried
// and tested without a switcher.

#include "client_messages.h"
#include "diagnostics/debug_logger.h"
#include "frame_emulator.h"
#include "model/button_address.h"

#include <QCommandLineParser>
#include <QCoreApplication>
#include <QTime>
#include <QTimer>
#include <cstdio>

using namespace Qt::StringLiterals;
using namespace quorvane::emulator;

namespace {

void printLine(const QString& text)
{
    const QString line = QTime::currentTime().toString(u"HH:mm:ss.zzz"_s) + u' ' + text + u'\n';
    std::fputs(line.toLocal8Bit().constData(), stdout);
    std::fflush(stdout);
}

[[noreturn]] void fail(const QString& message)
{
    std::fputs((u"quorvane-frame-emulator: "_s + message + u'\n').toLocal8Bit().constData(),
               stderr);
    std::exit(2);
}

template <typename Number>
Number numberOption(const QCommandLineParser& parser, const QString& name, Number lowest,
                    Number highest)
{
    bool ok = false;
    const double value = parser.value(name).toDouble(&ok);
    if (!ok || value < double(lowest) || value > double(highest)) {
        fail(u"--"_s + name + u" must be a number from "_s + QString::number(lowest) + u" to "_s +
             QString::number(highest));
    }
    return static_cast<Number>(value);
}

// "ME2:35:3:17": bus, buttons per row, shift, button.
PanelButton panelButton(const QString& option, const QString& text)
{
    const QStringList parts = text.split(u':');
    bool ok = parts.size() == 4;
    PanelButton button;
    if (ok) {
        const std::optional<quorvane::Bus> bus = quorvane::busFromName(parts[0].toUpper());
        ok = bus.has_value();
        if (bus)
            button.bus = *bus;
    }
    bool countOk = false;
    bool shiftOk = false;
    bool buttonOk = false;
    if (ok) {
        button.buttonCount = parts[1].toInt(&countOk);
        button.shift = parts[2].toInt(&shiftOk);
        button.button = parts[3].toInt(&buttonOk);
    }
    if (!ok || !countOk || !shiftOk || !buttonOk ||
        !quorvane::isSupportedButtonCount(button.buttonCount) || button.shift < 1 ||
        button.shift > quorvane::shiftRowCount || button.button < 1 ||
        button.button > button.buttonCount) {
        fail(u"--"_s + option + u" needs BUS:COUNT:SHIFT:BUTTON, like ME2:35:3:17, not "_s + text);
    }
    return button;
}

QList<PanelButton> panelButtons(const QCommandLineParser& parser, const QString& option)
{
    QList<PanelButton> buttons;
    for (const QString& text : parser.values(option))
        buttons.append(panelButton(option, text));
    return buttons;
}

// The `step`-th change of --churn: walks through shift rows 1 and 2 of every bus, giving each
// button the next of the show's sources.
void changeOnItsOwn(FrameEmulator& frame, int step)
{
    constexpr int buttonCount = 35;
    constexpr int churnedRows = 2;
    const auto& sources = frame.show().sources;
    if (sources.empty())
        return;
    const int buttonsPerBus = churnedRows * buttonCount;
    const int place = step % (int(quorvane::allBuses.size()) * buttonsPerBus);
    const quorvane::Bus bus = quorvane::allBuses[std::size_t(place / buttonsPerBus)];
    const int shift = 1 + (place % buttonsPerBus) / buttonCount;
    const int button = 1 + place % buttonCount;
    const int source = sources[std::size_t(step) % sources.size()].number;
    frame.pushMappingChange(bus, buttonCount, shift, button, quint32(source));
}

} // namespace

int main(int argc, char* argv[])
{
    QCoreApplication app(argc, argv);
    QCoreApplication::setApplicationName(u"quorvane-frame-emulator"_s);

    QCommandLineParser parser;
    parser.setApplicationDescription(u"Plays the K-Frame's side of the switcher protocol on "
                                     u"UDP ports 5000, 5001 and a dynamic port."_s);
    parser.addHelpOption();
    parser.addOptions({
        {u"bind"_s, u"Address to listen on (default 127.0.0.1)."_s, u"address"_s, u"127.0.0.1"_s},
        {u"dynamic-port"_s, u"The session port handed to the client (5002-5999, default 5123)."_s,
         u"port"_s, u"5123"_s},
        {u"announce"_s, u"Deliver the dynamic port in an announcement from port 5001 instead of "
                        u"in the ClientID's ACK."_s},
        {u"announce-delay"_s,
         u"Milliseconds between the ClientID's ACK and the announcement "
         u"(default 250)."_s,
         u"ms"_s, u"250"_s},
        {u"to-listener"_s, u"Send subscription data to the client's listener port instead of "
                           u"its main port."_s},
        {u"model"_s, u"Frame model text of the frame info reply."_s, u"text"_s,
         u"Kayenne K-Frame XP"_s},
        {u"frame-version"_s, u"Software version text of the frame info reply."_s, u"text"_s,
         u"V12.3.1"_s},
        {u"drop"_s, u"Lose this fraction (0-1) of the received datagrams."_s, u"fraction"_s,
         u"0"_s},
        {u"drop-sent"_s, u"Lose this fraction (0-1) of the datagrams the frame sends."_s,
         u"fraction"_s, u"0"_s},
        {u"delay"_s, u"Send every answer this many milliseconds late."_s, u"ms"_s, u"0"_s},
        {u"reorder"_s, u"Hold each datagram sent up to this many milliseconds more, at random."_s,
         u"ms"_s, u"0"_s},
        {u"silent-button"_s,
         u"Acknowledge but never answer subscriptions of this button (repeatable)."_s,
         u"BUS:COUNT:SHIFT:BUTTON"_s},
        {u"silent-asks"_s, u"Only the first N subscriptions of each silent button go unanswered."_s,
         u"n"_s},
        {u"refuse-write"_s, u"Acknowledge but do not apply writes to this button (repeatable)."_s,
         u"BUS:COUNT:SHIFT:BUTTON"_s},
        {u"ignore-writes"_s,
         u"Acknowledge this fraction (0-1) of the write requests but neither apply them nor "
         u"report the button back."_s,
         u"fraction"_s, u"0"_s},
        {u"stop-at-subscription"_s, u"Go away for good at the n-th button subscription."_s, u"n"_s},
        {u"restart-at-subscription"_s,
         u"Go away at the n-th button subscription and come back --restart-down ms later."_s,
         u"n"_s},
        {u"restart-at-write"_s,
         u"Go away at the n-th write request and come back --restart-down ms later."_s, u"n"_s},
        {u"restart-down"_s, u"How long a restart takes (default 500)."_s, u"ms"_s, u"500"_s},
        {u"restart-keeps-session"_s,
         u"Come back from a restart knowing the client, so that its session goes on."_s},
        {u"burst"_s,
         u"Send this many button datagrams at once, --burst-after ms after the client's first "
         u"button subscription."_s,
         u"n"_s},
        {u"burst-after"_s, u"When the burst leaves (default 1000)."_s, u"ms"_s, u"1000"_s},
        {u"churn"_s,
         u"Change a mapping on its own this often, as an operator at the panel would: shift rows "
         u"1 and 2 of every bus at 35 buttons, in turn."_s,
         u"ms"_s},
        {u"corrupt-sources"_s,
         u"Damage this fraction (0-1) of the button records that answer a subscription: the "
         u"source gains bits above 16."_s,
         u"fraction"_s, u"0"_s},
        {u"duplicate"_s, u"Send every datagram twice."_s},
        {u"stop-pings-after"_s, u"Stop answering PINGs this many seconds after start."_s,
         u"seconds"_s},
        {u"silent-handshake"_s, u"Never answer anything on port 5000."_s},
        {u"garbage-every"_s, u"Send a datagram of random bytes to the client this often."_s,
         u"ms"_s, u"0"_s},
        {u"seed"_s,
         u"Seed of the random faults (drops, reordering, garbage, corrupted sources, "
         u"ignored writes)."_s,
         u"number"_s, u"1"_s},
        {u"verbose"_s, u"Also print every datagram received and sent."_s},
    });
    parser.process(app);
    if (!parser.positionalArguments().isEmpty())
        fail(u"unexpected argument "_s + parser.positionalArguments().constFirst());

    FrameEmulatorOptions options;
    options.bindAddress = QHostAddress(parser.value(u"bind"_s));
    if (options.bindAddress.isNull())
        fail(u"--bind needs an IP address, not "_s + parser.value(u"bind"_s));
    options.dynamicPort = numberOption<quint16>(parser, u"dynamic-port"_s, 5002, lastDynamicPort);
    if (parser.isSet(u"announce"_s))
        options.portDelivery = PortDelivery::announcement;
    options.announceDelayMs = numberOption<int>(parser, u"announce-delay"_s, 0, 10'000);
    if (parser.isSet(u"to-listener"_s))
        options.dataTarget = DataTarget::clientListenerPort;
    options.identity.model = parser.value(u"model"_s);
    options.identity.version = parser.value(u"frame-version"_s);
    if (!isEncodableName(options.identity.model, 31) ||
        !isEncodableName(options.identity.version, 15)) {
        fail(u"--model must be printable ASCII of at most 31 characters, --frame-version of at "
             u"most 15"_s);
    }
    FaultOptions& faults = options.faults;
    faults.dropFraction = numberOption<double>(parser, u"drop"_s, 0.0, 1.0);
    faults.dropSentFraction = numberOption<double>(parser, u"drop-sent"_s, 0.0, 1.0);
    faults.answerDelayMs = numberOption<int>(parser, u"delay"_s, 0, 60'000);
    faults.reorderWindowMs = numberOption<int>(parser, u"reorder"_s, 0, 60'000);
    faults.silentButtons = panelButtons(parser, u"silent-button"_s);
    if (parser.isSet(u"silent-asks"_s))
        faults.silentAsks = numberOption<int>(parser, u"silent-asks"_s, 0, 1'000'000);
    faults.refusedWrites = panelButtons(parser, u"refuse-write"_s);
    faults.ignoredWriteFraction = numberOption<double>(parser, u"ignore-writes"_s, 0.0, 1.0);
    if (parser.isSet(u"stop-at-subscription"_s)) {
        faults.stopAtButtonSubscription =
            numberOption<int>(parser, u"stop-at-subscription"_s, 1, 1'000'000);
    }
    if (parser.isSet(u"restart-at-subscription"_s)) {
        faults.restartAtButtonSubscription =
            numberOption<int>(parser, u"restart-at-subscription"_s, 1, 1'000'000);
    }
    if (parser.isSet(u"restart-at-write"_s))
        faults.restartAtWrite = numberOption<int>(parser, u"restart-at-write"_s, 1, 1'000'000);
    faults.restartDownMs = numberOption<int>(parser, u"restart-down"_s, 0, 60'000);
    faults.restartKeepsSession = parser.isSet(u"restart-keeps-session"_s);
    faults.corruptSourceFraction = numberOption<double>(parser, u"corrupt-sources"_s, 0.0, 1.0);
    faults.duplicateSends = parser.isSet(u"duplicate"_s);
    if (parser.isSet(u"stop-pings-after"_s))
        faults.stopPingAnswersAfterSeconds =
            numberOption<int>(parser, u"stop-pings-after"_s, 0, 86'400);
    faults.neverAnswerHandshake = parser.isSet(u"silent-handshake"_s);
    faults.garbageIntervalMs = numberOption<int>(parser, u"garbage-every"_s, 0, 60'000);
    faults.seed = numberOption<quint32>(parser, u"seed"_s, 0u, 0xFFFFFFFFu);
    const bool verbose = parser.isSet(u"verbose"_s);

    FrameEmulator frame(options);
    if (parser.isSet(u"burst"_s)) {
        const int burst = numberOption<int>(parser, u"burst"_s, 1, 10'000'000);
        const int after = numberOption<int>(parser, u"burst-after"_s, 0, 600'000);
        QObject::connect(&frame, &FrameEmulator::datagramReceived, &frame,
                         [&frame, burst, after, armed = true](const ReceivedDatagram& d) mutable {
                             if (!armed || d.message.kind != ClientMessageKind::buttonSubscription)
                                 return;
                             armed = false;
                             QTimer::singleShot(after, &frame,
                                                [&frame, burst] { frame.sendBurst(burst); });
                         });
    }
    QTimer churn;
    if (parser.isSet(u"churn"_s)) {
        churn.setInterval(numberOption<int>(parser, u"churn"_s, 1, 600'000));
        QObject::connect(&churn, &QTimer::timeout, &frame,
                         [&frame, step = 0]() mutable { changeOnItsOwn(frame, step++); });
        churn.start();
    }
    QObject::connect(&frame, &FrameEmulator::activity, &printLine);
    if (verbose) {
        QObject::connect(&frame, &FrameEmulator::datagramReceived,
                         [](const ReceivedDatagram& datagram) {
                             printLine(u"RX "_s + QString::number(datagram.localPort) + u" <- "_s +
                                       QString::number(datagram.senderPort) +
                                       (datagram.dropped ? u" (dropped) "_s : u" "_s) +
                                       describe(datagram.message) + u" ["_s +
                                       quorvane::hexBytes(datagram.bytes) + u']');
                         });
        QObject::connect(&frame, &FrameEmulator::datagramSent, [](const SentDatagram& datagram) {
            printLine(u"TX "_s + QString::number(datagram.localPort) + u" -> "_s +
                      QString::number(datagram.receiverPort) + u" ["_s +
                      quorvane::hexBytes(datagram.bytes) + u']');
        });
    }

    const Show& show = frame.show();
    printLine(u"quorvane-frame-emulator: "_s + options.identity.model + u' ' +
              options.identity.version + u" on "_s + options.bindAddress.toString() +
              u", ports 5000/5001, dynamic port "_s + QString::number(options.dynamicPort) +
              (options.portDelivery == PortDelivery::announcement ? u" (announced)"_s
                                                                  : u" (in ClientID ACK)"_s) +
              u", data to the client's "_s +
              (options.dataTarget == DataTarget::clientMainPort ? u"main"_s : u"listener"_s) +
              u" port, "_s + QString::number(show.sources.size()) + u" sources, "_s +
              QString::number(show.buttons.assignedCount()) + u" assigned buttons"_s);
    if (!frame.start())
        fail(frame.errorString());
    return QCoreApplication::exec();
}
