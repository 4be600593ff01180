#include "drivers/odbc/lob_source.h"

#include "drivers/odbc/diagnostics.h"

namespace qxdrivers::odbc {

namespace {

constexpr const char* fileFailed = "58030";

std::unique_ptr<qxos::SourceFile> OpenFile(const std::string& name) {
    try {
        return std::make_unique<qxos::SourceFile>(name);
    } catch (const qxos::FileError& error) {
        ThrowRefusal(error.what(), fileFailed);
    }
}

[[noreturn]] void ThrowChanged(const std::string& name, __int64 before, __int64 now) {
    ThrowRefusal("\"" + name + "\" has changed while it was read: it had " + std::to_string(before) +
                     " bytes, and then " + std::to_string(now),
                 fileFailed);
}

}  // namespace

LobSource::LobSource(const std::string& fileName) : name(fileName), file(OpenFile(fileName)) {}

std::optional<__int64> LobSource::Size() const {
    return file->IsRegular() ? std::optional<__int64>(file->GetSize()) : std::nullopt;
}

std::size_t LobSource::Read(char* target, std::size_t length) {
    std::size_t count = 0;
    try {
        count = file->Read(target, length);
    } catch (const qxos::FileError& error) {
        ThrowRefusal(error.what(), fileFailed);
    }
    done += static_cast<__int64>(count);
    const std::optional<__int64> size = Size();
    if (size && (done > *size || (count < length && done < *size))) {
        ThrowChanged(name, *size, done);
    }
    return count;
}

void LobSource::CheckSize() const {
    const std::optional<__int64> now = LobSource(name).Size();
    if (now != Size()) {
        ThrowChanged(name, Size().value_or(0), now.value_or(0));
    }
}

}  // namespace qxdrivers::odbc
