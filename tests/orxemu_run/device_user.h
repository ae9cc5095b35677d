// The steps of the program that uses the device as it is told to, and what they share.
#ifndef TESTS_ORXEMU_RUN_DEVICE_USER_H
#define TESTS_ORXEMU_RUN_DEVICE_USER_H

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <sys/types.h>

namespace device_user {

constexpr const char *kDevice = "/dev/pktorx";
constexpr unsigned long kSetRlStatus = 39;

struct Step {
    const char *name;
    void (*run)(const std::string &value);
};

// Those that no program should be told to do: to the session's descriptors, to threads, as another user.
std::span<const Step> RoughSteps();

// Does a step "NAME" or "NAME=VALUE"; false when there is no such step.
bool Do(std::string_view word);

// Both return an errno, or 0.
int Send(unsigned long request, void *record);
int SendStatus(std::uint32_t status);

void Print(const std::string &text);
void PrintOutcome(const std::string &what, int err);

void Touch(const std::string &path);
// Starts a process that keeps all others off the hardware until the path is there.
void HoldLock(const std::string &path);

// A number that the environment names the session by; -1 outside of one.
enum SessionNumber { kSegment = 0, kLockFile = 1, kChannel = 4 };
int NumberOfSession(SessionNumber which);

} // namespace device_user

#endif
