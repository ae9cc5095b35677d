#include "emu/journal/log_file.h"

#include <cerrno>
#include <cstring>

namespace orxemu::journal {

namespace {

bool WriteLine(std::FILE *file, const std::string &line) {
    return std::fwrite(line.data(), 1, line.size(), file) == line.size() && std::fflush(file) == 0;
}

Problem CannotWrite(const std::string &path, int err) {
    return {path, 0, std::string("cannot be written: ") + std::strerror(err)};
}

} // namespace

LogWriter::~LogWriter() {
    if (file_ != nullptr) {
        std::fclose(file_);
    }
}

bool LogWriter::Open(const std::string &path, ByteOrder order) {
    problem_ = {path, 0, {}};
    order_ = order;
    count_ = 0;
    failed_ = false;
    file_ = std::fopen(path.c_str(), "we");
    if (file_ == nullptr) {
        problem_ = CannotWrite(path, errno);
        return false;
    }
    if (!WriteLine(file_, LogHeadLine(order))) {
        problem_ = CannotWrite(path, errno);
        failed_ = true;
    }
    return !failed_;
}

void LogWriter::Write(const LogEntry &entry) {
    if (file_ == nullptr || failed_) {
        return;
    }
    if (!WriteLine(file_, LogEntryLine(entry, ++count_, order_))) {
        problem_ = CannotWrite(problem_.file, errno);
        failed_ = true;
    }
}

bool LogWriter::Close(const LogEnd &end) {
    if (file_ == nullptr) {
        return false;
    }
    if (!failed_ && !WriteLine(file_, LogEndLine(end))) {
        problem_ = CannotWrite(problem_.file, errno);
        failed_ = true;
    }
    if (std::fclose(file_) != 0 && !failed_) {
        problem_ = CannotWrite(problem_.file, errno);
        failed_ = true;
    }
    file_ = nullptr;
    return !failed_;
}

} // namespace orxemu::journal
