// Texts of the status codes.
#include "lumcore.h"

extern "C" const char* lumGetStatusString(LumStatus status) {
    switch (status) {
        case lumStsNoErr: return "No error";
        case lumStsNoOperation: return "Warning: no operation was performed";
        case lumStsSrcEndWrn: return "Warning: the source ended before the operation completed";
        case lumStsDstFullWrn:
            return "Warning: the destination was full before the operation completed";
        case lumStsErr: return "Error: unclassified error";
        case lumStsNullPtrErr: return "Error: null pointer";
        case lumStsBadArgErr: return "Error: bad argument";
        case lumStsSizeErr: return "Error: length or capacity out of range";
        case lumStsMemAllocErr: return "Error: not enough memory";
        case lumStsCorruptDataErr: return "Error: corrupt or invalid compressed data";
        case lumStsUnsupportedModeErr: return "Error: unsupported mode";
        case lumStsCpuNotSupportedErr: return "Error: CPU feature not available";
        case lumStsContextMatchErr: return "Error: work area not prepared by its Init function";
        case lumStsThreadErr: return "Error: a worker thread could not be started";
        default: return "Unknown status";
    }
}
