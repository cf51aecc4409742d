#!/bin/sh
# Runs a test in a network namespace of its own with its loopback up, so that it has the frame's
# and the suite's fixed UDP ports to itself and runs beside every other such test. The programs
# it starts (the command line, the desktop, the emulated frame) inherit the namespace.
#   run_in_own_network.sh UNSHARE_FLAGS TEST [ARGUMENTS...]
# UNSHARE_FLAGS is -n as root, -rn (a user namespace too) otherwise; tests/CMakeLists.txt
# finds out at configure time which one this machine allows.
flags=$1
shift
exec unshare "$flags" sh -c 'ip link set lo up && exec "$@"' own-network "$@"
