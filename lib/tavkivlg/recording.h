#ifndef KIVLG_RECORDING_H
#define KIVLG_RECORDING_H

// What the recording build of the logging library exports besides: every line of every level is kept in memory, so
// that a test can compare text, level, kind and order.

#include "tavkivlg/tavkivlg.h"

extern "C" {

struct KivRecordedLine {
    unsigned long threadId;
    unsigned int level;
    char kind;
    char component[32];
    unsigned long win32Error;  // the code of a line about a Win32 error, else 0
    const char* text;          // without the system's text for the error; valid until the record is cleared
};

KIVLG_API void KIVLG_CALL KivRecordingClear();
KIVLG_API unsigned int KIVLG_CALL KivRecordingCount();
KIVLG_API int KIVLG_CALL KivRecordingLine(unsigned int index, KivRecordedLine* line);  // 0: no such line

}  // extern "C"

#endif
