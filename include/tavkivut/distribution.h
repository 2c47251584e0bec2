#ifndef TAVKIVUT_DISTRIBUTION_H
#define TAVKIVUT_DISTRIBUTION_H

// The client of the distribution service, which runs on a server and carries out installation jobs that are described
// by job descriptor files. Requests and answers are single lines of text through a named pipe; docs/distribution.md
// tells the whole protocol.
//
// The server is named by entry "DsServer" of section "General" of the file "tavsetup.cfg" beside the running
// executable, else by the string "DsServer" of HKLM\Software\TAV\TAVSetup\General: a computer name without backslashes
// in front, "." for this computer.
//
// The functions may be called from any thread. Each writes what it asked and what came of it to the log.

#include "tavkivut/export.h"

enum : unsigned int {
    kKivDsServerSize = 260,  // of a buffer for the server's name, with the terminator
    kKivDsReplySize = 260,   // the longest reply in bytes, and a good size for a reply buffer
};

// The pipe is "\\<server>\PIPE\_tavkivds_is_pipe_".
inline constexpr char kKivDsPipe[] = "_tavkivds_is_pipe_";

// Requests. A job start is followed by a blank and the UNC path of the descriptor.
inline constexpr char kKivDsJobInit[] = "@KIV_JOB_INIT";
inline constexpr char kKivDsJobStatus[] = "@KIV_JOB_STATUS";
inline constexpr char kKivDsJobCancel[] = "@KIV_JOB_CANCEL";

// The keyword of every answer; a blank and a Win32 error number in decimal digits follow.
inline constexpr char kKivDsAnswer[] = "@KIV_JOB_STATUS";

// What a service answers that cannot answer now: the client asks again later.
inline constexpr char kKivDsError[] = "ERROR";

// Writes the name of the server to out, which has room for kKivDsServerSize characters; a longer name is cut. Returns
// 1, also when no server is configured: out is "" then. 0 only for a null out (last error 87).
extern "C" KIV_API int KIV_CALL GetDistributionServerName(char* out) noexcept;

// Sends one request and waits for its reply. `replySize` is the size of `reply` in bytes on entry, and the number of
// bytes received afterwards, without the terminator that is put behind them. True when a reply came.
//
// A reply that does not fit, its terminator included, leaves both as they were, and the result is true all the same: a
// caller that must know sets reply[0] to 0 before.
//
// A call that fails, and a reply "ERROR", are tried again after a third of a second to 3.3 seconds, for a minute: SO
// LONG DOES A CALL TAKE when no service answers. A service that takes the request and never answers keeps the caller
// for ever. After a false result the last error is that of the last failed call, 0 when "ERROR" was the reply; with a
// null argument 87.
extern "C" KIV_API bool KIV_CALL CallDistributionService(const char* request, char* reply,
                                                         unsigned long& replySize) noexcept;

// Hands a job descriptor file to the service: shares its directory, so that the service can read it by its UNC path,
// and starts the job. `jdfPath` is the full path of a file on a drive of this computer; it is not changed. `replySize`
// is the size of the buffer for the answer, kKivDsReplySize as a rule; 0 fails.
//
// The share is closed when the answer has come: a service reads the whole file before it answers. Sharing a directory
// needs an administrator.
//
// Returns 1 when the service started the job. After 0 the last error tells why: what kept the directory from being
// shared, 1062 when no service answered, or the code of the answer:
//
//     2 file missing   5 file not readable   13 unknown syntax   170 a job is running   1223 a job is being cancelled
//
// or any other code that the service chose; 58 where the answer had none.
extern "C" KIV_API int KIV_CALL KivDSJobInit(char* jdfPath, unsigned long replySize) noexcept;

// Cancels the service's job. Returns 1 when the job is cancelled (last error 0), and when the service has taken note
// and not yet done it (last error 1223). After 0 the last error tells why: 170 no job is pending, 5 the job cannot be
// cancelled, any other code of an answer, 58 where it had none, 1062 when no service answered.
extern "C" KIV_API int KIV_CALL KivDSJobCancel(void) noexcept;

#endif
