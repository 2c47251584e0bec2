#ifndef KIVLG_LINE_ENVIRONMENT_H
#define KIVLG_LINE_ENVIRONMENT_H

namespace kivlg {

// What a thread's next line is written with.
struct LineEnvironment {
    const char* component;  // interned, lives as long as the library
    unsigned level;
    char kind;
    unsigned long win32Error;
};

// Per thread, without a block per thread: the fields live in TLS slots, so a thread that ends without telling the
// library leaves nothing behind.
void SetLineEnvironment(const char* component, unsigned level, char kind, unsigned long win32Error = 0) noexcept;
LineEnvironment GetLineEnvironment() noexcept;

}  // namespace kivlg

#endif
