#include "tests/support/library.h"

namespace test {

void LibraryTest::SetUp() {
    orxemu_reset();
    qelLog_setLogLevel(QEL_LOG_ID_QELLOG, 1);
    qelLog_setGlobalLogLevel(3);
    std::memset(static_cast<void *>(qirCtxt_gp), 0, sizeof *qirCtxt_gp);
    ASSERT_EQ(QIR_Init_Sys(), 0u);
}

void LibraryTest::TearDown() {
    qelLog_setLogLevel(QEL_LOG_ID_QELLOG, 1);
    qelLog_setLogLevel(QEL_LOG_ID_ORXAPI, 1);
    qelLog_setGlobalLogLevel(3);
    EXPECT_EQ(orxemu_openDescriptors(), 0) << "the library left the device open";
}

ContextSnapshot::ContextSnapshot() : bytes_(sizeof *qirCtxt_gp) {
    std::memcpy(bytes_.data(), static_cast<const void *>(qirCtxt_gp), bytes_.size());
}

std::vector<std::size_t> ContextSnapshot::ChangedBytes() const {
    std::vector<std::size_t> changed;
    const auto *now = reinterpret_cast<const unsigned char *>(qirCtxt_gp);
    if (std::memcmp(now, bytes_.data(), bytes_.size()) == 0) {
        return changed;
    }
    for (std::size_t i = 0; i < bytes_.size(); ++i) {
        if (now[i] != bytes_[i]) {
            changed.push_back(i);
        }
    }
    return changed;
}

namespace {

template <class Hdl> Hdl MakeHdl(unsigned id) {
    Hdl hdl{};
    hdl.f1.id = id & 0xFFu;
    return hdl;
}

} // namespace

AsTblHdl AsHdl(unsigned id) {
    return MakeHdl<AsTblHdl>(id);
}

DscpTblHdl DscpHdl(unsigned id) {
    return MakeHdl<DscpTblHdl>(id);
}

EpTblHdl EpHdl(unsigned id) {
    return MakeHdl<EpTblHdl>(id);
}

PacTblHdl PacHdl(unsigned id) {
    return MakeHdl<PacTblHdl>(id);
}

FlowHdl Flow(unsigned id) {
    FlowHdl hdl{};
    hdl.f1.id = id & 0xFFFFu;
    return hdl;
}

} // namespace test
