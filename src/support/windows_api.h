#ifndef KIV_SUPPORT_WINDOWS_API_H
#define KIV_SUPPORT_WINDOWS_API_H

// The only way to windows.h inside the library. The version asked for is that of the newest declarations needed;
// what an older system lacks is looked up at run time all the same (dynamic_function.h).
#ifndef WIN32_LEAN_AND_MEAN
#define WIN32_LEAN_AND_MEAN
#endif
#ifndef NOMINMAX
#define NOMINMAX
#endif
#undef _WIN32_WINNT
#define _WIN32_WINNT 0x0600
#undef WINVER
#define WINVER 0x0600

#include <windows.h>

#endif
