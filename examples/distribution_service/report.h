#ifndef DISTRIBUTION_SERVICE_REPORT_H
#define DISTRIBUTION_SERVICE_REPORT_H

// Writes a line to the log, and to the console where the program runs on one.
void Report(const char* format, ...) __attribute__((format(ms_printf, 1, 2)));

#endif
