// What the processes of a session share with the `orxemu run` that started them: the memory that holds the
// hardware, the file whose lock serialises them, and the channel for messages about what they asked of it.
//
// The environment variable names the three, as decimal numbers with commas between them: the identifier of
// the shared memory segment; descriptor, device and inode of the file; the same of the channel. The
// descriptors are inherited by every process. Device and inode tell them from others under their numbers.
//
// The memory is a segment and no file, because a limit on the size of files (`ulimit -f`) is about files that
// exist in memory only, too. The system removes it with the last process that uses it.
#ifndef EMU_SESSION_MEMORY_H
#define EMU_SESSION_MEMORY_H

#include "emu/hardware.h"

#include <atomic>
#include <cerrno>
#include <type_traits>

namespace orxemu {

// What a process gets that has lost the lock. It is not among the answers of the device.
constexpr int kUnserved = ENODEV;

constexpr const char *kSessionVariable = "ORXEMU_SESSION";
constexpr int kSessionNumbers = 7;

// In the byte order of the writer, so that a program of the other order does not recognise it.
constexpr uint32_t kSessionMagic = 0x4F525845;
// Counts up with every change of the structures here and below.
constexpr uint32_t kSessionLayout = 3;

struct SessionMemory {
    uint32_t magic;
    uint32_t layout;
    uint32_t size;    // of this structure
    uint32_t reports; // messages that were due; one that never came is of a process that died or stopped
    uint32_t unread;  // 1: a message found no room in time, and the tool is not waited for again
    // Without the lock, of which a process may have lost the file:
    std::atomic<uint32_t> joined;   // processes that came in, ever
    std::atomic<uint32_t> unserved; // openings and requests that were refused for want of the lock
    // Descriptors of the device that the processes that opened them have not closed, alive or not. They are
    // counted as they come and go, because a process may end without a last word.
    std::atomic<uint32_t> openDescriptors;
    Hardware hardware;
};

enum class MessageKind : uint32_t { Request, FailedOpen, NotJoined };

// One message on the channel. It is sent before the next process can reach the hardware, so that messages
// come in the order of what they tell. A process that could not join is in no order, and tells it once.
struct SessionMessage {
    struct Head {
        MessageKind kind;
        FaultKind fault;     // that the request met
        uint32_t recordRead; // 1: the record could be read from the caller's memory
    } head;
    OrxEmuRequest request; // of a failed opening, and of a process that could not join, only `err`
};
// Head and request are sent from two places and received in one.
static_assert(sizeof(SessionMessage) == sizeof(SessionMessage::Head) + sizeof(OrxEmuRequest));
static_assert(std::is_trivially_copyable_v<SessionMessage>);
static_assert(std::atomic<uint32_t>::is_always_lock_free); // shared by processes

} // namespace orxemu

#endif
