#ifndef KIV_SUPPORT_GUARDED_CALL_H
#define KIV_SUPPORT_GUARDED_CALL_H

// Runs code(argument) and ends it where it raises a structured exception (an access violation, a file on the network
// that goes away while it is mapped). Returns 1 when the code ran to its end, 0 when it was ended.
//
// For system calls that trust the contents of a file. Nothing between this call and the fault is cleaned up: the code
// owns nothing that a destructor would have to release, and stores what it allocates where the caller finds it.
extern "C" int KivGuardedCall(void (*code)(void*), void* argument) noexcept;

#endif
