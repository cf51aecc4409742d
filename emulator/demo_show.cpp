#include "demo_show.h"

#include <QStringView>
#include <algorithm>
#include <array>
#include <utility>

namespace quorvane::emulator {

namespace {
struct Entry {
    int number;
    QStringView eng;
    QStringView panel;
    QStringView oled;
    QStringView menu;
};

// Engineering names come from the frame's configuration (at most 12 characters); the panel,
// OLED and menu names are the operators' own (at most 16) and often missing.
constexpr Entry entries[] = {
    // Cameras
    {1, u"CAM 1", u"CAM 1 WIDE", u"C1 WIDE", u"Cam 1 Main Wide"},
    {2, u"CAM 2", u"CAM 2 HOST", u"C2 HOST", u"Cam 2 Host CU"},
    {3, u"CAM 3", u"CAM 3 GUEST", u"C3 GST", u"Cam 3 Guest CU"},
    {4, u"CAM 4", u"CAM 4 AUDIENCE", u"C4 AUD", u"Cam 4 Audience"},
    {5, u"CAM 5", u"CAM 5 JIB", u"C5 JIB", u"Cam 5 Jib Arm"},
    {6, u"CAM 6", u"CAM 6 STEADI", u"C6 STDY", u"Cam 6 Steadicam"},
    {7, u"CAM 7", u"CAM 7 RAIL", u"", u"Cam 7 Rail Dolly"},
    {8, u"CAM 8", u"CAM 8 CRANE", u"C8 CRN", u""},
    {9, u"CAM 9", u"HH LEFT", u"HH L", u"Handheld Left"},
    {10, u"CAM 10", u"HH RIGHT", u"HH R", u"Handheld Right"},
    {11, u"CAM 11", u"ROBO 1", u"RB1", u"Robotic 1 Desk"},
    {12, u"CAM 12", u"ROBO 2", u"RB2", u"Robotic 2 Desk"},
    {13, u"CAM 13", u"SPIDERCAM", u"SPIDR", u"Spidercam Cable"},
    {14, u"CAM 14", u"BEAUTY", u"BEAUT", u"Beauty Shot Roof"},
    {15, u"CAM 15", u"AERIAL", u"", u""},
    {16, u"CAM 16", u"RF CAM 1", u"RF1", u"RF Wireless 1"},
    {17, u"CAM 17", u"PITCH LEFT", u"P-L", u"Pitch Left 18yd"},
    {18, u"CAM 18", u"PITCH RIGHT", u"P-R", u"Pitch Right 18yd"},
    {19, u"CAM 19", u"GOAL NORTH", u"GL N", u"Goal Cam North"},
    {20, u"CAM 20", u"GOAL SOUTH", u"GL S", u"Goal Cam South"},
    {21, u"CAM 21", u"", u"", u""},
    {22, u"CAM 22", u"TUNNEL", u"TUNL", u"Players Tunnel"},
    {23, u"CAM 23", u"DRONE", u"DRN", u"Drone Overhead"},
    {24, u"CAM 24", u"", u"", u""},
    // Replay
    {31, u"EVS1 A", u"EVS 1A PGM", u"R1A", u"Replay 1A Prog"},
    {32, u"EVS1 B", u"EVS 1B", u"R1B", u"Replay 1B"},
    {33, u"EVS2 A", u"EVS 2A PGM", u"R2A", u"Replay 2A Prog"},
    {34, u"EVS2 B", u"EVS 2B", u"R2B", u"Replay 2B"},
    {35, u"EVS3 A", u"EVS 3A SUPERMO", u"R3A SM", u"Super Slo-Mo 3A"},
    {36, u"EVS3 B", u"EVS 3B", u"R3B", u""},
    {37, u"EVS4 A", u"EVS 4A HILITES", u"R4A HL", u"Highlights 4A"},
    {38, u"EVS4 B", u"EVS 4B", u"", u""},
    {39, u"EVS5 A", u"", u"", u""},
    {40, u"EVS5 B", u"", u"", u""},
    {41, u"XT VIA 1", u"XT VIA CLIPS 1", u"CLIP1", u"Clip Player 1"},
    {42, u"XT VIA 2", u"XT VIA CLIPS 2", u"CLIP2", u"Clip Player 2"},
    // Graphics
    {51, u"VIZ1 FILL", u"VIZ 1 FILL", u"V1 F", u"Viz Engine 1 Fil"},
    {52, u"VIZ1 KEY", u"VIZ 1 KEY", u"V1 K", u"Viz Engine 1 Key"},
    {53, u"VIZ2 FILL", u"VIZ 2 FILL", u"V2 F", u"Viz Engine 2 Fil"},
    {54, u"VIZ2 KEY", u"VIZ 2 KEY", u"V2 K", u"Viz Engine 2 Key"},
    {55, u"CG1 FILL", u"LOWER 3RDS F", u"L3 F", u"Lower Thirds Fil"},
    {56, u"CG1 KEY", u"LOWER 3RDS K", u"L3 K", u"Lower Thirds Key"},
    {57, u"SCORE FILL", u"SCOREBUG F", u"SCR F", u"Score Bug Fill"},
    {58, u"SCORE KEY", u"SCOREBUG K", u"SCR K", u"Score Bug Key"},
    {59, u"CLOCK FILL", u"CLOCK FILL", u"", u"Clock Fill"},
    {60, u"CLOCK KEY", u"CLOCK KEY", u"", u"Clock Key"},
    {61, u"TOUCH WALL", u"TOUCHSCREEN", u"TOUCH", u"Analysis Wall"},
    {62, u"AR FILL", u"", u"", u""},
    // Remote feeds
    {71, u"REM 1", u"REMOTE 1 STADM", u"REM1", u"Remote 1 Stadium"},
    {72, u"REM 2", u"REMOTE 2 HOTEL", u"REM2", u"Remote 2 Hotel"},
    {73, u"REM 3", u"REMOTE 3", u"REM3", u""},
    {74, u"SAT RX 1", u"SAT RX 1", u"SAT1", u"Satellite Rx 1"},
    {75, u"SAT RX 2", u"SAT RX 2", u"SAT2", u"Satellite Rx 2"},
    {76, u"FIBER 1", u"FIBRE LONDON", u"FIB1", u"Fibre London"},
    {77, u"FIBER 2", u"FIBRE PARIS", u"FIB2", u"Fibre Paris"},
    {78, u"FIBER 3", u"", u"", u""},
    {79, u"NEWS VAN 1", u"NEWS VAN 1", u"NV1", u"News Van 1"},
    {80, u"NEWS VAN 2", u"NEWS VAN 2", u"NV2", u"News Van 2"},
    {81, u"SKYPE 1", u"VIDEO CALL 1", u"CALL1", u"Video Call 1"},
    {82, u"SKYPE 2", u"VIDEO CALL 2", u"CALL2", u"Video Call 2"},
    {83, u"LIVEU 1", u"BONDED CELL 1", u"CELL1", u"Bonded Cell 1"},
    {84, u"LIVEU 2", u"", u"", u""},
    // Play-out servers
    {91, u"K2 A1", u"K2 A1 OPENER", u"K2A1", u"K2 Summit A1"},
    {92, u"K2 A2", u"K2 A2", u"K2A2", u"K2 Summit A2"},
    {93, u"K2 B1", u"K2 B1 PROMOS", u"K2B1", u"K2 Summit B1"},
    {94, u"K2 B2", u"K2 B2", u"K2B2", u"K2 Summit B2"},
    {95, u"DDR 1", u"DDR 1 VT", u"VT1", u"Video Tape 1"},
    {96, u"DDR 2", u"DDR 2 VT", u"VT2", u"Video Tape 2"},
    {97, u"DDR 3", u"DDR 3", u"", u""},
    {98, u"STILL STORE", u"STILLS", u"STILL", u"Still Store"},
    {99, u"ADS 1", u"ADS PLAYOUT 1", u"ADS1", u"Commercials 1"},
    {100, u"ADS 2", u"ADS PLAYOUT 2", u"ADS2", u"Commercials 2"},
    {101, u"AIRSPEED 1", u"", u"", u""},
    {102, u"AIRSPEED 2", u"", u"", u""},
    {103, u"PROMO SRV", u"PROMO SERVER", u"PRMO", u""},
    {104, u"BACKUP SRV", u"", u"", u""},
    // Facilities
    {111, u"MV 1", u"", u"", u""},
    {112, u"MV 2", u"", u"", u""},
    {113, u"MV 3", u"", u"", u""},
    {114, u"MV 4", u"", u"", u""},
    {115, u"BARS 1", u"COLOUR BARS", u"BARS", u"Colour Bars"},
    {116, u"TEST GEN", u"", u"", u""},
    {117, u"ROUTER 1", u"ROUTER TIE 1", u"TIE1", u"Router Tie Line1"},
    {118, u"ROUTER 2", u"ROUTER TIE 2", u"TIE2", u"Router Tie Line2"},
    {119, u"ROUTER 3", u"", u"", u""},
    {120, u"ROUTER 4", u"", u"", u""},
    {121, u"STUDIO B", u"STUDIO B PGM", u"STB", u"Studio B Program"},
    {122, u"PRESENTER", u"PRESENTER PC", u"PRES", u"Presenter Laptop"},
    // Internal sources of the frame
    {700, u"BLACK", u"", u"", u""},
    {701, u"BKGD 1", u"", u"", u""},
    {702, u"BKGD 2", u"", u"", u""},
    {703, u"MATTE 1", u"", u"", u""},
    {704, u"MATTE 2", u"", u"", u""},
    {705, u"MATTE 3", u"", u"", u""},
    {706, u"MATTE 4", u"", u"", u""},
    {710, u"ME1 PGM", u"", u"", u""},
    {711, u"ME1 PVW", u"", u"", u""},
    {712, u"ME1 CLEAN", u"", u"", u""},
    {713, u"ME2 PGM", u"", u"", u""},
    {714, u"ME2 PVW", u"", u"", u""},
    {715, u"ME2 CLEAN", u"", u"", u""},
    {716, u"ME3 PGM", u"", u"", u""},
    {717, u"ME3 PVW", u"", u"", u""},
    {719, u"ME4 PGM", u"", u"", u""},
    {720, u"ME4 PVW", u"", u"", u""},
    {730, u"STILL 1", u"", u"", u""},
    {731, u"STILL 2", u"", u"", u""},
    {732, u"STILL 3", u"", u"", u""},
    {733, u"STILL 4", u"", u"", u""},
    {740, u"CLIP 1", u"", u"", u""},
    {741, u"CLIP 2", u"", u"", u""},
    {750, u"PGM CLEAN", u"", u"", u""},
};

std::vector<int> range(int first, int last)
{
    std::vector<int> numbers;
    for (int n = first; n <= last; ++n)
        numbers.push_back(n);
    return numbers;
}

std::vector<int> joined(std::initializer_list<std::vector<int>> parts)
{
    std::vector<int> numbers;
    for (const std::vector<int>& part : parts)
        numbers.insert(numbers.end(), part.begin(), part.end());
    return numbers;
}

// What each shift row offers, in panel order: cameras first, then replay and graphics,
// servers and feeds, facilities and the frame's internal sources.
std::array<std::vector<int>, 4> shiftRows()
{
    const std::vector<int> cameras = range(1, 24);
    const std::vector<int> replay = range(31, 42);
    const std::vector<int> graphics = range(51, 62);
    const std::vector<int> remotes = range(71, 84);
    const std::vector<int> servers = range(91, 104);
    const std::vector<int> facilities = range(111, 122);
    const std::vector<int> internal = {700, 701, 702, 703, 704, 710, 711, 712, 713,
                                       714, 716, 719, 730, 731, 740, 741, 750};
    return {joined({cameras, remotes}), joined({replay, graphics, servers}),
            joined({servers, remotes, range(13, 24)}), joined({facilities, internal})};
}

// A few buttons on every row are left empty, at places that differ per bus and count.
bool isLeftEmpty(int busIndex, int buttonCount, int shift, int button)
{
    constexpr int spacing = 13;
    return (button + 3 * shift + 5 * busIndex + buttonCount) % spacing == 0;
}
} // namespace

const NamedSource* Show::find(int number) const
{
    const auto it = std::lower_bound(
        sources.begin(), sources.end(), number,
        [](const NamedSource& source, int wanted) { return source.number < wanted; });
    return it != sources.end() && it->number == number ? &*it : nullptr;
}

NamedSource* Show::find(int number)
{
    return const_cast<NamedSource*>(std::as_const(*this).find(number));
}

SourceNameTable Show::names() const
{
    SourceNameTable table;
    for (const NamedSource& source : sources)
        table.insert(source.number, source.names);
    return table;
}

Show demoShow()
{
    Show show;
    for (const Entry& entry : entries) {
        SourceName names;
        names.eng = entry.eng.toString();
        names.panel = entry.panel.toString();
        names.oled = entry.oled.toString();
        names.menu = entry.menu.toString();
        show.sources.push_back({entry.number, names});
    }

    constexpr std::array<int, 4> buttonCounts{15, 20, 25, 35};
    const std::array<std::vector<int>, 4> rows = shiftRows();
    for (int busIndex = 0; busIndex < int(allBuses.size()); ++busIndex) {
        const Bus bus = allBuses[std::size_t(busIndex)];
        for (int count : buttonCounts) {
            for (int shift = 1; shift <= 4; ++shift) {
                const std::vector<int>& row = rows[std::size_t(shift - 1)];
                // Each bus starts its rows a little further on, as operators arrange them.
                const int rotation = 2 * busIndex;
                for (int button = 1; button <= count; ++button) {
                    if (isLeftEmpty(busIndex, count, shift, button))
                        continue;
                    const auto at = std::size_t(button - 1 + rotation) % row.size();
                    show.buttons.setMapping(bus, count, shift, button, quint32(row[at]));
                }
            }
        }
    }
    return show;
}

} // namespace quorvane::emulator
