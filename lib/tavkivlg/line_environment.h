#ifndef KIVLG_LINE_ENVIRONMENT_H
#define KIVLG_LINE_ENVIRONMENT_H

namespace kivlg {

// What a thread's next line is written with.
struct LineEnvironment {
    const char* component;  // lives as long as the library where the environment was read from the thread
    unsigned level;
    char kind;
    bool isAboutError;  // the system's text for win32Error belongs to the line
    unsigned long win32Error;
};

// Per thread, without a block per thread: the fields live in TLS slots, so a thread that ends without telling the
// library leaves nothing behind. A thread that never set its environment writes at level 1, kind ' ', no component.
void SetLineEnvironment(const LineEnvironment& environment) noexcept;
LineEnvironment GetLineEnvironment() noexcept;

}  // namespace kivlg

#endif
