#include "ColdReads.h"

#include <sys/resource.h>

#include <utility>

namespace VarnholtSQLiteSupport {

ColdReads::ColdReads(BlocksRead blocksRead, int run, std::int64_t threshold)
    : blocksRead_(std::move(blocksRead)), run_(run), threshold_(threshold), last_(blocksRead_()) {}

bool ColdReads::check() {
    if (cold_) return true;
    const std::int64_t now = blocksRead_();
    const std::int64_t read = now > last_ ? now - last_ : 0;
    last_ = now;
    if (read == 0) {
        checksInRun_ = 0;
        blocksInRun_ = 0;
        return false;
    }
    ++checksInRun_;
    blocksInRun_ += read;
    cold_ = checksInRun_ >= run_ && blocksInRun_ >= threshold_;
    return cold_;
}

std::int64_t ColdReads::processBlocksRead() {
    struct rusage usage {};
    if (getrusage(RUSAGE_SELF, &usage) != 0) return 0;
    return usage.ru_inblock;
}

std::optional<std::int64_t> ColdReads::threadBlocksRead() {
#ifdef RUSAGE_THREAD
    struct rusage usage {};
    if (getrusage(RUSAGE_THREAD, &usage) != 0) return std::nullopt;
    return usage.ru_inblock;
#else
    return std::nullopt;
#endif
}

}  // namespace VarnholtSQLiteSupport
