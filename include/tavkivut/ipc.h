#ifndef TAVKIVUT_IPC_H
#define TAVKIVUT_IPC_H

// Notifications between two processes of one machine: a source sends a name with a text and waits for the number that
// a listener answers. The two meet through named objects of the system that every account may open, so a service
// and the programs of a user can talk. docs/ipc.md describes the protocol for programs that join in without this
// library.
//
// Everybody on the machine can send, answer and read notifications: they carry nothing secret and command nothing
// that the caller's own rights do not cover.

#include "tavkivut/export.h"

namespace kiv {
class IpcLock;
struct IpcBlock;
}  // namespace kiv

// One end of the line. The objects are made or opened by Send and Receive, whichever side starts first.
//
// One object serves one thread at a time. A machine has one line, and one notification is under way at a time: two
// sources at once, or two listeners, can get each other's turn. On terminal servers each session has a line of its own.
//
// Assignment copies every member bit for bit, and what the target had is lost: both objects then own the same handles,
// and only one of them may be destroyed.
class KIV_API CKivLocalIpc {
public:
    // `listener` is 1 for a listener, 0 for a source. A listener with a name takes notifications of exactly that name
    // only; it is cut to 127 characters, and null or "" takes all.
    CKivLocalIpc(int listener, const char* name) noexcept;
    ~CKivLocalIpc();

    CKivLocalIpc(const CKivLocalIpc&) = delete;
    CKivLocalIpc& operator=(const CKivLocalIpc& other) noexcept;

    // Makes or opens what is still missing. Not 0 when the lock and the shared block are there; the event that only
    // the other side makes may be missing yet.
    int CommonConstruct() noexcept;

    // Sends a notification: a name of up to 127 characters, null for none, and a text of up to 1023, null for an empty
    // one; what is longer is cut. Where no listener is there yet it waits for one, at most `timeout` milliseconds,
    // 0xFFFFFFFF for ever. Returns the listener's response; 0x80004005 when no listener came, when the objects cannot
    // be made, and from a listener that takes other names only.
    //
    // Once the notification is sent there is no limit: a listener that ends before it has answered leaves the source
    // waiting until another one answers in its place.
    long Send(const char* name, const char* payload, unsigned int timeout) noexcept;

    // Waits for notifications, at most `timeout` milliseconds for each and for a source to be there, 0xFFFFFFFF for
    // ever, and hands each to the handler, which sets the response and returns 0 to end or something else to go on. The
    // response is what an earlier one left unless it is set. Without a handler the first notification ends the
    // listening.
    //
    // Returns 0 when the handler ended it, 1 when the time was over, 0x80004005 when the objects cannot be made or a
    // source that showed up is gone again.
    //
    // The handler runs while this process holds the lock of the line: it must not throw, and nothing in it may wait
    // for a Send of this machine.
    long Receive(int (*handler)(const char* name, const char* payload, long* response), unsigned int timeout) noexcept;

protected:
    int IsNT() noexcept;  // not 0 on the NT family

private:
    friend struct CKivLocalIpcLayout;
    // The same as the system's SECURITY_ATTRIBUTES.
    struct SecurityAttributes {
        unsigned long length;
        void* descriptor;
        int inherit;
    };

    SecurityAttributes* EveryonesAccess() noexcept;
    int AwaitListener(unsigned int timeout) noexcept;
    long AwaitSource(unsigned int timeout) noexcept;
    bool Answer(const kiv::IpcBlock& seen, kiv::IpcLock& lock,
                int (*handler)(const char* name, const char* payload, long* response)) noexcept;
    void Refuse(kiv::IpcLock& lock) noexcept;

    char m_name[128];
    int m_listener;
    void* m_descriptor;  // owned
    SecurityAttributes m_security;
    void* m_lock;
    void* m_notification;
    void* m_sourceAlive;
    void* m_response;
    void* m_listenerAlive;
    void* m_mapping;
    kiv::IpcBlock* m_block;  // the mapped view
};

// The sending end.
class KIV_API CKivNotificationSource : public CKivLocalIpc {
public:
    CKivNotificationSource() noexcept;
};

// The listening end.
class KIV_API CKivNotificationSink : public CKivLocalIpc {
public:
    explicit CKivNotificationSink(const char* name = nullptr) noexcept;
};

#endif
