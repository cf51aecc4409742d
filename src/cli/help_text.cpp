#include "cli_options.h"

using namespace Qt::StringLiterals;

namespace quorvane::cli {

QString helpText()
{
    return uR"(Usage: quorvane-cli <command> [options] [FILE]

Reads and writes which source each source-select button of one control-panel suite of a
K-Frame is mapped to, as show files: a backup of a panel, a comparison with one, a restore.

Commands:
  dump         Connect, read the buttons of the chosen buses and write them as a show file
               (to standard output, or to -o FILE).
  diff FILE    Print every button whose source differs between the frame and FILE.
  diff FILE1 FILE2
               Print every button whose source differs between two show files, with the
               same report and exit codes. Contacts no frame.
  apply FILE   Write every button of FILE that differs from the frame, then wait until the
               frame itself reports each new source back.
  sheet FILE   Print FILE as a panel sheet to keep beside the panel: a PDF, one page per
               bus, or PNG images. Contacts no frame.

Options (every command):
  --host ADDRESS     The frame's IPv4 address, like 192.168.1.20. Required by the commands
                     that contact the frame.
  --suite N          Control-panel suite, 1 to 4. Default: the suite recorded in a JSON
                     show file, else 1.
  --buttons N        Buttons per row of the panel: 15, 20, 25 or 35. Default: the count
                     recorded in a JSON show file, else 35. A JSON file read at another count
                     is refused: its button numbers mean other buttons.
  --bus NAME         ME1, ME2, ME3, ME4, PGM or AUX (any case), or "all". May be repeated.
                     dump: default all. diff, apply: default the buses FILE lists buttons on.
  --timeout SECONDS  How long to wait for the frame at each step: connecting (handshake,
                     heartbeat check, loading the first bus), loading each further bus, and
                     the confirmation of the writes of apply. Default 30; a value shorter than
                     a connect takes at the frame's pace is refused.
  --retries N        How often to ask again for buttons the frame did not answer for, and to
                     write again what it did not confirm. 0 to 20, default 3.
  --connect-attempts N
                     How often to try connecting when the frame does not answer the handshake
                     or the first PINGs. 1 to 10, default 2.
  --format json|csv  Show file format. Default: csv for a name ending in .csv, else json.
  -q, --quiet        No progress and no summary; errors are still reported.
  -v, --verbose      The whole log on standard error, every datagram in hexadecimal
                     included.
  --log FILE         The whole log to FILE, each line as it is written.
  -h, --help         This text.
  --version          The program's name and version.

Options of one command:
  -o, --output FILE  dump: write the show file to FILE instead of standard output.
  --dry-run          apply: print what would be written and write nothing.
  --listed-only      diff, apply: compare only the buttons FILE lists (with two files, the
                     buttons FILE2 lists).

Panel sheets:
  sheet FILE [-o OUT] [--format pdf|png] [--page a4|letter] [--bus NAME]
  One landscape page per bus FILE lists buttons on, or per bus named with --bus: the four
  shift rows with every button's number, source number and name (a button FILE does not list
  is unassigned, "—"); the frame, suite, buttons per row and date above; FILE's name and the
  page number below. OUT defaults to FILE with the extension .pdf (.png); --format defaults
  to png for an OUT ending in .png, else pdf; --page to a4. PNG writes one image per bus at
  150 dpi, with the bus before the extension: OUT sheet.png gives sheet-ME1.png, sheet-PGM.png
  and so on. A CSV FILE is read at --buttons and printed with --suite (defaults 35 and 1). No
  --host: the names printed are those FILE holds. An invalid FILE, or a sheet that cannot be
  written, ends with exit 2; an older sheet is replaced only by a whole new one.

Which buttons are compared:
  diff and apply compare, on each compared bus, every button of the panel. A button that FILE
  does not list counts as unassigned (source 0): a dump lists every assigned button and no
  other, so applying a dump restores the panel exactly and clears buttons assigned since.
  A bus on which FILE lists no button is compared only when named with --bus; then every
  assigned button on it differs. With --listed-only only the listed buttons are compared and
  all others are left as they are.

Output:
  Standard output carries only the result: the show file (dump), one line per differing
  button (diff), one line per written button with what the frame holds when read back
  afterwards, and the counts (apply). Standard error carries the
  errors, one line each, and the progress: on a terminal one line updated in place
  ("Loading ME2 … 84/140 buttons"), elsewhere a plain line per step; dump ends with a short
  summary. The log is shown only with --verbose or written with --log. Nothing is written
  before FILE has been read and found valid, and an invalid FILE is never sent anywhere.

Complete or nothing:
  A button the frame does not answer for is unknown, never taken for unassigned. Such buttons
  are asked for again (--retries); if any stays unknown, dump writes no file, diff compares
  nothing and apply writes nothing, and each says which buttons did not answer (exit 4).
  dump -o writes a new file beside FILE and puts it in place only when it is complete, so an
  earlier backup is never damaged; a folder it cannot write in is refused before the frame is
  contacted. A write counts as confirmed only when the frame reports the button back with the
  written source afterwards; apply then reads the written buses back afresh and reports what the
  frame holds. An interrupted apply says what was sent, confirmed and never sent. A frame that
  stops answering ends any command with exit 3 and says what was in progress.

Exit codes:
  0  Success. diff: the frame agrees with FILE. apply: the written buses, read back, agree with
     FILE, or nothing needed writing.
  1  diff: some buttons differ. apply: buttons still differ from FILE when read back after the
     writes. apply --dry-run: something would be written.
  2  Usage error, or FILE cannot be read, is not a valid show file or does not fit the panel,
     or the dump cannot be written.
  3  The connection failed: the frame did not answer the handshake, heartbeat verification
     failed, the local ports are in use (another program, perhaps another Quorvane on the same
     suite), no answer within --timeout, or the frame stopped answering during the command.
  4  Incomplete: the frame did not answer for some buttons, even when asked again. Nothing was
     written, compared or applied.
  130, 143
     Interrupted by Ctrl+C (SIGINT) or SIGTERM: the link was closed, and a dump left an earlier
     FILE as it was. A second Ctrl+C ends the program at once.

Examples, a backup before the show and a restore after it:
  quorvane-cli dump --host 192.168.1.20 --suite 2 -o studio-a.json
               Every bus of the panel of suite 2, into studio-a.json.
  quorvane-cli diff studio-a.json --host 192.168.1.20
               What was changed on the panel since.
  quorvane-cli apply studio-a.json --host 192.168.1.20
               Every changed button put back as it was.)"_s;
}

} // namespace quorvane::cli
