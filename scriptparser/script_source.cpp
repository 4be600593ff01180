#include "scriptparser/script_source.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <ios>
#include <locale>
#include <system_error>
#include <utility>

#include "scriptparser/script_error.h"

namespace qxscriptparser {

namespace {

constexpr std::size_t kBlock = 64 * 1024;

[[noreturn]] void Refuse(const std::string& name, const std::string& reason) {
    throw ScriptError(E_FAIL, "The script file \"" + name + "\" can't be read: " + reason);
}

}  // namespace

FileSource::FileSource(std::string name) : fileName(std::move(name)), block(kBlock) {
    std::error_code ignored;
    if (std::filesystem::is_directory(fileName, ignored))
        Refuse(fileName, "it is a directory");
    file.pubimbue(std::locale::classic());  // bytes as they are
    file.pubsetbuf(block.data(), static_cast<std::streamsize>(block.size()));
    errno = 0;
    if (file.open(fileName, std::ios::in | std::ios::binary) == nullptr)
        Refuse(fileName, errno != 0 ? std::strerror(errno) : "it can't be opened");
}

std::size_t FileSource::Read(char* to, std::size_t count) {
    // sgetc reads once from the system when nothing is left, so that what a pipe holds is given at once.
    try {
        if (file.sgetc() == std::filebuf::traits_type::eof())
            return 0;
        const std::streamsize available = std::max<std::streamsize>(file.in_avail(), 1);
        return static_cast<std::size_t>(
            file.sgetn(to, std::min(available, static_cast<std::streamsize>(count))));
    } catch (const std::ios_base::failure& failure) {
        Refuse(fileName, failure.what());
    }
}

std::size_t MemorySource::Read(char* to, std::size_t count) {
    const std::size_t given = std::min(count, rest.size());
    std::memcpy(to, rest.data(), given);
    rest.remove_prefix(given);
    return given;
}

}  // namespace qxscriptparser
