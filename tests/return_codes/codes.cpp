#include "tests/return_codes/codes.h"

#include "qirapi/public/codes.h"

#include <gtest/gtest.h>

namespace return_codes {

#define CODE(number, name, meaning)                                                                          \
    [] {                                                                                                     \
        static_assert((name) == (number), #name);                                                            \
        return Code{(number), #name, (meaning)};                                                             \
    }()

const std::vector<Code> &Codes() {
    static const std::vector<Code> codes = {
        CODE(0, e_RET_OK, "success"),
        CODE(1, e_RET_DRIVER_FAILURE, "the device could not be opened, or the driver refused the request"),
        CODE(2, e_RET_ERR_NULL_PTR, "a pointer is null"),
        CODE(3, e_RET_ERR_INVALID_HDL, "the handle names no table or flow that is in use"),
        CODE(6, e_RET_ERR_NO_SUCH_ENTRY, "there is no such entry or action"),
        CODE(7, e_RET_ERR_OVERFLOW, "more matches than the caller has room for"),
        CODE(9, e_RET_ERR_REQOUTOFORDER, "an Ethernet action at the wrong place in the order"),
        CODE(10, e_RET_ERR_HDROUTOFORDER, "a header that this one needs is missing"),
        CODE(11, e_RET_ERR_HDRNOTCFG, "the header has not been allocated"),
        CODE(12, e_RET_ERR_RESRC_UNAVAIL, "nothing is free, or the named thing is in use"),
        CODE(13, e_RET_ERR_RESRC_BUSY, "others still use it"),
        CODE(14, e_RET_ERR_RESRC_NOT_ACTIVE, "it is not active or enabled"),
        CODE(15, e_RET_ERR_RESRC_ALREADY_ACTIVE, "it is active or enabled already"),
        CODE(17, e_RET_ERR_STATE_NOTCFG, "the object's state does not allow it"),
        CODE(18, e_RET_ERR_STATE_NOT_ACTIVE, "a table is not ACTIVE"),
        CODE(19, e_RET_ERR_STATE_ALREADY_ACTIVE, "the object is ACTIVE already"),
        CODE(21, e_RET_ERR_INVALID_CMPOPSEQ, "the filter does not take this operator, or not once more"),
        CODE(22, e_RET_ERR_INVALID_FILTSEQ, "a filter that is there excludes this one"),
        CODE(23, e_RET_ERR_INVALID_ACTIONSEQ, "an action that is there excludes this one"),
        CODE(25, e_RET_ERR_INVALID_PARAM, "a value that does not fit"),
        CODE(27, e_RET_ERR_INVALID_SECTION, "flow section out of range"),
        CODE(28, e_RET_ERR_INVALID_NUMFLOWS, "number of flows out of range"),
        CODE(30, e_RET_ERR_INVALID_FWDACTION, "forwarding flags out of range"),
        CODE(36, e_RET_ERR_INVALID_SRCPORT, "source port out of range"),
        CODE(37, e_RET_ERR_INVALID_SRCPORTMASK, "no source port"),
        CODE(39, e_RET_ERR_INVALID_DSTPORTMASK, "no destination port"),
        CODE(40, e_RET_ERR_INVALID_DSTQID, "destination queue out of range, or not the common one"),
        CODE(41, e_RET_ERR_INVALID_GEMPORTIDXMASK, "no destination GEM port"),
        CODE(42, e_RET_ERR_INVALID_HDRTYPE, "header type out of range"),
        CODE(43, e_RET_ERR_INVALID_BLOCKTYPE, "block type out of range"),
        CODE(44, e_RET_ERR_INVALID_TAGNUM, "VLAN tag number out of range"),
        CODE(45, e_RET_ERR_INVALID_CONFIGOPER, "configuration operation other than adding"),
        CODE(46, e_RET_ERR_INVALID_CMPOPER, "comparison operator out of range"),
        CODE(47, e_RET_ERR_INVALID_FILT, "filter type out of range"),
        CODE(48, e_RET_ERR_INVALID_ACTION, "action out of range"),
        CODE(49, e_RET_ERR_INVALID_ASENT, "AS entry without a field to match"),
        CODE(50, e_RET_ERR_INVALID_ASOVRD, "address-screening override out of range"),
        CODE(51, e_RET_ERR_INVALID_ACLTYPE, "ACL type out of range"),
        CODE(52, e_RET_ERR_INVALID_OVRD, "unknown override bits"),
        CODE(53, e_RET_ERR_INVALID_ENTIDX, "entry index out of range"),
        CODE(54, e_RET_ERR_INVALID_IPPREFIXLENVAL, "prefix length out of range"),
        CODE(55, e_RET_ERR_INVALID_PBITS, "pbits out of range"),
        CODE(56, e_RET_ERR_INVALID_DSCPVAL, "DSCP out of range, or a range with swapped ends"),
        CODE(57, e_RET_ERR_INVALID_GEMPORTIDX, "GEM port index out of range, or no source GEM port"),
        CODE(59, e_RET_ERR_INVALID_FLOWPRIO, "flow priority out of range"),
        CODE(60, e_RET_ERR_INVALID_TBLSTATUS, "table status out of range"),
        CODE(61, e_RET_ERR_INVALID_ETHTYPE, "EtherType out of range"),
        CODE(62, e_RET_ERR_INVALID_VLANTAG, "VLAN id out of range"),
        CODE(63, e_RET_ERR_INVALID_PBITS_SOURCE, "pbits source out of range"),
        CODE(64, e_RET_ERR_INVALID_RAWACTION_TYPE, "type of a raw action out of range"),
        CODE(65, e_RET_ERR_INVALID_RAWACTION_OFFSET, "offset of a raw action out of range"),
        CODE(66, e_RET_ERR_INVALID_RAWACTION_SIZE, "size of a raw action out of range"),
        CODE(67, e_RET_ERR_INVALID_PADLEN, "pad length out of range"),
        CODE(68, e_RET_ERR_INVALID_RLSTATUS, "rate-limiter status out of range"),
        CODE(69, e_RET_ERR_INVALID_RLINDEX, "rate-limiter index out of range"),
        CODE(70, e_RET_ERR_INVALID_RLDIR, "rate-limiter direction out of range"),
        CODE(71, e_RET_ERR_INVALID_RLUNIT, "unit of a rate out of range"),
        CODE(72, e_RET_ERR_INVALID_RLRATE, "rate out of range"),
    };
    return codes;
}

#undef CODE

std::string NameOf(uint32_t number) {
    for (const Code &code : Codes()) {
        if (code.number == number) {
            return code.name;
        }
    }
    ADD_FAILURE() << "no code " << number;
    return "";
}

} // namespace return_codes
