// Where a replay sends its requests: the stand-in in this process, or a device node.
#ifndef EMU_TOOL_REPLAY_TARGET_H
#define EMU_TOOL_REPLAY_TARGET_H

#include "emu/device/device.h"
#include "emu/journal/words.h"

#include <string>

namespace orxemu::tool {

struct Answer {
    bool opened = true; // when not, `err` says why, and nothing was sent
    int err = 0;        // errno, 0 when the request was accepted
};

class ReplayTarget {
  public:
    virtual ~ReplayTarget() = default;
    // As the library sends it: open, one request, close. The driver's answer is written into the record.
    virtual Answer Send(int request, std::span<std::uint8_t> record) = 0;
    virtual std::string Name() const = 0;
};

class StandInTarget : public ReplayTarget {
  public:
    explicit StandInTarget(Device &device) : device_(device) {}
    Answer Send(int request, std::span<std::uint8_t> record) override;
    std::string Name() const override { return "the stand-in"; }

  private:
    Device &device_;
};

class DeviceTarget : public ReplayTarget {
  public:
    explicit DeviceTarget(std::string path) : path_(std::move(path)) {}
    Answer Send(int request, std::span<std::uint8_t> record) override;
    std::string Name() const override { return path_; }

  private:
    std::string path_;
};

} // namespace orxemu::tool

#endif
