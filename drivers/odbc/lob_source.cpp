#include "drivers/odbc/lob_source.h"

#include <cerrno>
#include <cstring>
#include <filesystem>

#include "drivers/odbc/diagnostics.h"

namespace qxdrivers::odbc {

namespace {

[[noreturn]] void ThrowUnreadable(const std::string& name, int code) {
    ThrowRefusal("\"" + name + "\" can't be read: " + std::strerror(code), "58030");
}

[[noreturn]] void ThrowChanged(const std::string& name, __int64 before, __int64 now) {
    ThrowRefusal("\"" + name + "\" has changed while it was read: it had " + std::to_string(before) +
                     " bytes, and then " + std::to_string(now),
                 "58030");
}

}  // namespace

LobSource::LobSource(const std::string& fileName) : name(fileName) {
    std::error_code ignored;
    if (std::filesystem::is_directory(name, ignored)) {
        ThrowUnreadable(name, EISDIR);
    }
    errno = 0;
    file.open(name, std::ios::binary);
    if (!file) {
        ThrowUnreadable(name, errno);
    }
    if (std::filesystem::is_regular_file(name, ignored)) {
        file.seekg(0, std::ios::end);
        size = static_cast<__int64>(file.tellg());
        file.seekg(0);
    }
}

std::size_t LobSource::Read(char* target, std::size_t length) {
    errno = 0;
    file.read(target, static_cast<std::streamsize>(length));
    if (file.bad()) {
        ThrowUnreadable(name, errno);
    }
    const auto count = static_cast<std::size_t>(file.gcount());
    done += static_cast<__int64>(count);
    if (size && (done > *size || (count < length && done < *size))) {
        ThrowChanged(name, *size, done);
    }
    return count;
}

void LobSource::CheckSize() const {
    std::error_code ignored;
    const std::uintmax_t now = std::filesystem::file_size(name, ignored);
    if (size && now != static_cast<std::uintmax_t>(*size)) {
        ThrowChanged(name, *size, now == static_cast<std::uintmax_t>(-1) ? 0 : static_cast<__int64>(now));
    }
}

}  // namespace qxdrivers::odbc
