#include "problems.h"

namespace timeline {

std::string_view problemText(Problem problem) {
    switch (problem) {
        case Problem::noRecord:
            return "lines that are no records";
        case Problem::unknownText:
            return "records with a text that the library doesn't write";
        case Problem::damagedLine:
            return "damaged lines of which only the last record was read";
        case Problem::tooLong:
            return "lines too long to be read";
        case Problem::cutOff:
            return "last lines that are cut off";
        case Problem::wrongTime:
            return "records with a wrong time, shown at that of the record before";
        case Problem::clockWentBack:
            return "records at which the clock went back; what follows is shown as if it had not";
        case Problem::exitMissing:
            return "operations whose exit is missing, shown until the next record that shows they had ended";
        case Problem::entryMissing:
            return "exits of operations whose entry is missing";
        case Problem::endOfContextMissing:
            return "contexts whose end is missing, shown until another one was created at their address";
        case Problem::ownerUnknown:
            return "deleted states whose context the trace doesn't tell";
    }
    return "";
}

}  // namespace timeline
