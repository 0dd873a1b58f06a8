// Loads the library in a working directory that a test prepared and logs a few lines, so that the
// test sees what "./logger.conf" did. An argument is a mode to change to first.
#include <unistd.h>

#include <cstdlib>

#include "util/os_linux/Logger.h"

int main(int count, char** arguments)
{
    if (count > 1) {
        Logger::ChangeMode(std::atoi(arguments[1]));
    }
    Logger_Print(1, Logger::kInfo, 0, "Probe", "util/os_linux/Probe.cpp", 7, "%s", "info");
    Logger_Print(1, Logger::kError, 1, "Probe", "Probe.cpp", 8, "raw %d\n", 5);
    // A log that had been given the number of a closed standard stream would now hold this text.
    for (int stream = STDIN_FILENO; stream <= STDERR_FILENO; ++stream) {
        if (write(stream, "stray\n", 6) < 0) {
            continue;
        }
    }
    return 0;
}
