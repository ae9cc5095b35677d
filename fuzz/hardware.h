// What the stand-in holds, beside what the shadow calls ACTIVE.
//
// A call whose request is answered leaves the two sides alike. Where they part is intended, and followed here
// slot by slot:
//
//   activation, answer lost        the hardware has a slot that no object of the shadow answers for
//   table deactivation, failed     the table stays ACTIVE and no longer knows its slot; nothing frees it
//   deactivation, answer lost      the object stays ACTIVE and the hardware holds nothing for it. A flow
//                                  still knows the slot: when another flow gets it, calls on the first one
//                                  reach it
//   update or setting, answer lost the hardware is one change ahead
//   start-up                       the shadow forgets everything, the hardware nothing
#ifndef FUZZ_HARDWARE_H
#define FUZZ_HARDWARE_H

#include "emu/orxemu.h"
#include "fuzz/call.h"

#include <array>

namespace fuzz {

// The kinds of object that the hardware has slots for.
enum class HwKind : u8 { As, Dscp, Pac, Flow, Rl, Num };

class HardwarePast {
  public:
    // Takes note of a request that a call made. `answerLost`: an answer was to be lost if there was one.
    void NoteRequest(const Call &call, const OrxEmuRequest &request, bool answerLost);
    // Takes note of a call that found no device.
    void NoteNoDevice(const qir::QirCtxt &ctxt, const Call &call);
    // Takes note of a start-up.
    void NoteInit(const OrxEmuState &hardware);

    // Compares the two sides. The context is the one behind the call; flows and slots from `numFlows` on are
    // known not to be in use.
    Complaint Check(const qir::QirCtxt &ctxt, const OrxEmuState &hardware,
                    u32 numFlows = QIR_MAX_FLOWS) const;

  private:
    static constexpr u16 kFree = 0xFFFF;   // a slot that holds nothing
    static constexpr u16 kNobody = 0xFFFE; // a slot that no object answers for

    struct Kind {
        Kind() { owner.fill(kFree); }
        std::array<u16, QIR_MAX_FLOWS> owner;      // of each slot
        std::array<bool, QIR_MAX_FLOWS> gone{};    // ACTIVE objects that the hardware holds nothing for
        std::array<bool, QIR_MAX_FLOWS> lostIdx{}; // ACTIVE tables that no longer know their slot
    };
    // Settings of which the hardware may have another value than the shadow.
    struct Ahead {
        std::array<bool, QIR_PORT_MAX> padLen{}, defAcl{}, tpid{};
        std::array<bool, QIR_RLDIR_MAX> rlTci{};
        std::array<bool, QIR_MAX_FLOWS> fwdInfo{};
        bool flowMissAction = false;
        bool rlStatus = false;
    };

    Kind &Of(HwKind kind) { return kinds_[static_cast<u32>(kind)]; }
    const Kind &Of(HwKind kind) const { return kinds_[static_cast<u32>(kind)]; }
    void NoteActivation(HwKind kind, u32 object, const OrxEmuRequest &request, u32 slot, bool answerLost);
    void NoteDeactivation(HwKind kind, u32 object, const OrxEmuRequest &request, u32 slot, bool answerLost);
    void NoteUpdate(u32 flow, const OrxEmuRequest &request, u32 slot, bool answerLost);
    void NoteSetting(const Call &call, bool ahead);

    Complaint CheckKind(HwKind kind, const qir::QirCtxt &ctxt, const OrxEmuState &hardware, u32 num) const;
    Complaint CheckHeld(HwKind kind, u32 object, u32 slot, const qir::QirCtxt &ctxt,
                        const OrxEmuState &hardware) const;
    Complaint CheckSettings(const qir::QirCtxt &ctxt, const OrxEmuState &hardware) const;

    std::array<Kind, static_cast<u32>(HwKind::Num)> kinds_;
    Ahead ahead_;
};

} // namespace fuzz

#endif
