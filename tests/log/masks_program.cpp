// Writes the mask of each channel named on the command line, as it stands in this process.

#include <foundation/log/diagnostic_logger.h>
#include <cstdio>

int main(int count, char** arguments) {
    for (int i = 1; i < count; ++i) {
        const foundation::log::diagnostic_logger logger(arguments[i]);
        std::printf("%s=%u\n", arguments[i], logger.mask());
    }
}
