#ifndef TAVKIVUT_EXPORT_H
#define TAVKIVUT_EXPORT_H

// How the library's names reach its users: exported while the library is built, imported everywhere else, and
// nothing at all outside Windows, so that the classes without system calls build natively for their tests.
#if !defined(_WIN32)
#define KIV_API
#elif defined(KIV_BUILD)
#define KIV_API __declspec(dllexport)
#else
#define KIV_API __declspec(dllimport)
#endif

// The calling convention of the free functions. They are extern "C", so any language can call them by name.
#if defined(_WIN32)
#define KIV_CALL __cdecl
#else
#define KIV_CALL
#endif

#endif
