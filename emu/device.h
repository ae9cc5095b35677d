// The device: what the hardware holds, and what each request does to it.
#ifndef EMU_DEVICE_H
#define EMU_DEVICE_H

#include "emu/orxemu.h"
#include "qirapi/driver/driver_records.h"

#include <cstring>

namespace orxemu {

// One request while the device works on it. The record has been copied; answers go back to the caller's.
class Exchange {
  public:
    Exchange(OrxEmuRequest &entry, void *callerRecord) : entry_(entry), callerRecord_(callerRecord) {}

    // The record as it was sent.
    template <class Record> Record In() const {
        static_assert(sizeof(Record) <= sizeof entry_.in);
        Record record;
        std::memcpy(&record, entry_.in, sizeof record);
        return record;
    }
    const qir::u8 *Bytes() const { return entry_.in; }

    // Writes bytes of the answer at an offset of the caller's record. 0 or an errno.
    int Answer(qir::u32 offset, const void *bytes, qir::u32 size);

    // Copies the FCB from the caller's memory. 0 or an errno.
    int CopyFcb(qir::u32 fcbAddr);
    const qir::u8 *FcbBytes() const { return entry_.fcb; }

  private:
    OrxEmuRequest &entry_;
    void *callerRecord_;
};

struct RequestKind {
    int request;
    qir::u32 recordSize;
    int (*handle)(Exchange &exchange); // 0 or an errno
};

// Null for an unknown number.
const RequestKind *FindRequest(int request);

} // namespace orxemu

#endif
