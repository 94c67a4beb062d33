// The reel command; tests run what it does without starting a program each time.
#include "tools/reel/command_line.h"

int main(int argc, char **argv) {
    return reel::run_command_line(argc, argv);
}
