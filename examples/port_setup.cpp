// Ports and rate limiters: what happens to frames that match no flow, then the TPIDs, the pad length and the
// ACL type of each port, then two rate limiters. The settings stay in the hardware when the program ends.
//
//     cmake --preset native
//     cmake --build --preset native --target port_setup orxemu_tool
//     build/native/emu/orxemu run -- build/native/examples/port_setup
//
// Every operation returns a code; when it is not 0 the library has said why on standard output, in a line
// that starts with "[ERROR orxapi]".
#include "qirapi/qirapi.h"

#include <array>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <optional>

namespace {

struct Port {
    const char *name;
    uint32_t id;
    std::array<uint16_t, 4> tpids;  // the tag types that the port recognises
    std::optional<uint32_t> padLen; // bytes, 64 to 255, or 0; the host port has none
    uint32_t aclType;               // 0 or 1; its meaning is the hardware's
};

struct Limiter {
    const char *name;
    uint32_t dir;   // 0 or 1
    uint32_t index; // 0 to 15
    RlEnt ent;      // rates: 0 to 8064 in unit 0, 0 to 1000 in unit 1
};

constexpr uint32_t kFlowMissAction = 1; // 0 to 2; its meaning is the hardware's

constexpr Port kPorts[] = {
    {.name = "user port 0", .id = 0, .tpids = {0x8100, 0x88A8, 0x9100, 0x9200}, .padLen = 64, .aclType = 1},
    {.name = "user port 1", .id = 1, .tpids = {0x8100, 0x88A8, 0x9100, 0x9200}, .padLen = 64, .aclType = 1},
    {.name = "GPON port", .id = 7, .tpids = {0x8100, 0x88A8, 0x9100, 0x9200}, .padLen = 0, .aclType = 0},
    {.name = "host port", .id = 8, .tpids = {0x8100, 0x8100, 0x8100, 0x8100}, .padLen = {}, .aclType = 0},
};

// What a direction's limiters have in common.
constexpr struct {
    const char *name;
    RlTciCfg tciCfg;
} kDirections[QIR_RLDIR_MAX] = {
    {.name = "direction 0", .tciCfg = {.tci = {0x0FFF, 0x0FFF}}},
    {.name = "direction 1", .tciCfg = {.tci = {0x0FFF, 0x0FFF}}},
};

constexpr Limiter kLimiters[] = {
    {.name = "limiter 0 of direction 0",
     .dir = 0,
     .index = 0,
     .ent = {.tci = 200, .cirRate = 1600, .cirUnit = 0, .cbs = 64}},
    {.name = "limiter 0 of direction 1",
     .dir = 1,
     .index = 0,
     .ent = {.tci = 1200, .cirRate = 100, .cirUnit = 1, .cbs = 128}},
};

// Names the operation that failed, what it was for, and its code. True when it succeeded.
bool Ok(const char *operation, const char *object, uint32_t code) {
    if (code == e_RET_OK) {
        return true;
    }
    std::fprintf(stderr, "port_setup: %s: %s returned %u%s\n", object, operation, static_cast<unsigned>(code),
                 code == e_RET_DRIVER_FAILURE ? ", the driver is missing or refused" : "");
    return false;
}

bool SetTpids(const Port &port) {
    TpidCfg cfg{};
    cfg.portId = port.id;
    for (std::size_t i = 0; i < port.tpids.size(); ++i) {
        cfg.tpid[i] = port.tpids[i];
    }
    return Ok("QIR_Set_Tpid", port.name, QIR_Set_Tpid(&cfg));
}

bool SetPort(const Port &port) {
    return SetTpids(port) &&
           (!port.padLen || Ok("QIR_Set_PortPadLen", port.name, QIR_Set_PortPadLen(port.id, *port.padLen))) &&
           Ok("QIR_Set_PortDefAcl", port.name, QIR_Set_PortDefAcl(port.id, port.aclType));
}

// Reads back what the library keeps of a port.
bool PrintPort(const Port &port) {
    TpidCfg tpids{};
    tpids.portId = port.id;
    uint32_t padLen = 0;
    uint32_t aclType = 0;
    if (!Ok("QIR_Get_Tpid", port.name, QIR_Get_Tpid(&tpids)) ||
        !Ok("QIR_Get_PortDefAcl", port.name, QIR_Get_PortDefAcl(port.id, &aclType)) ||
        (port.padLen && !Ok("QIR_Get_PortPadLen", port.name, QIR_Get_PortPadLen(port.id, &padLen)))) {
        return false;
    }
    std::printf("%s: TPIDs %04x %04x %04x %04x, ACL type %u", port.name, tpids.tpid[0], tpids.tpid[1],
                tpids.tpid[2], tpids.tpid[3], static_cast<unsigned>(aclType));
    if (port.padLen) {
        std::printf(", pad length %u", static_cast<unsigned>(padLen));
    }
    std::printf("\n");
    return true;
}

// A limiter is allocated and configured in the library; the hardware learns of it when it is activated.
bool SetLimiter(const Limiter &limiter) {
    return Ok("QIR_Alloc_RL", limiter.name, QIR_Alloc_RL(limiter.dir, limiter.index)) &&
           Ok("QIR_Set_RL", limiter.name, QIR_Set_RL(limiter.dir, limiter.index, limiter.ent)) &&
           Ok("QIR_Activate_RL", limiter.name, QIR_Activate_RL(limiter.dir, limiter.index));
}

bool PrintLimiter(const Limiter &limiter) {
    RlEnt ent{};
    if (!Ok("QIR_Get_RL", limiter.name, QIR_Get_RL(limiter.dir, limiter.index, &ent))) {
        return false;
    }
    std::printf("%s: TCI %u, rate %u in unit %u, burst %u\n", limiter.name, static_cast<unsigned>(ent.tci),
                static_cast<unsigned>(ent.cirRate), static_cast<unsigned>(ent.cirUnit),
                static_cast<unsigned>(ent.cbs));
    return true;
}

bool SetUpPorts() {
    if (!Ok("QIR_Set_FlowMissAction", "frames without a flow", QIR_Set_FlowMissAction(kFlowMissAction))) {
        return false;
    }
    for (const Port &port : kPorts) {
        if (!SetPort(port) || !PrintPort(port)) {
            return false;
        }
    }
    return true;
}

// Rate limiting is switched on last, when the limiters are in place.
bool SetUpLimiters() {
    for (uint32_t dir = 0; dir < QIR_RLDIR_MAX; ++dir) {
        if (!Ok("QIR_Set_RLTciCfg", kDirections[dir].name, QIR_Set_RLTciCfg(dir, kDirections[dir].tciCfg))) {
            return false;
        }
    }
    for (const Limiter &limiter : kLimiters) {
        if (!SetLimiter(limiter) || !PrintLimiter(limiter)) {
            return false;
        }
    }
    return Ok("QIR_Set_RLStatus", "rate limiting", QIR_Set_RLStatus(1));
}

} // namespace

int main() {
    const bool done = Ok("QIR_Init_Sys", "start-up", QIR_Init_Sys()) && SetUpPorts() && SetUpLimiters();
    return done ? EXIT_SUCCESS : EXIT_FAILURE;
}
