// The lock is one 64-bit word, changed only by atomic operations:
//
//   bits 0-19   readers inside
//   bits 20-39  readers waiting
//   bits 40-59  writers waiting
//   bit 61      a writer that waited too long has the next turn among the writers
//   bit 62      phase, flipped whenever the waiting readers are let in
//   bit 63      a writer is inside
//
// Invariants:
//   1. A writer inside means no reader inside.
//   2. Readers wait only while a writer is inside or waits. A writer that leaves lets all of them in at once,
//      by turning "waiting" into "inside" and flipping the phase; a waiting reader just watches the phase.
//      One bit is enough: the phase flips again only after another writer was inside, hence after that reader
//      has left. Where no writer is left because the last one gave up waiting, each reader lets itself in.
//   3. A writer takes the word itself, when nobody is inside. Newcomers of both kinds queue behind a waiting
//      writer.
//
// What one thread holds is kept in a small table of that thread, so that re-entry touches no shared memory.
#include "platform/qxutils/read_write_lock.h"

#include <chrono>
#include <cstddef>
#include <stdexcept>
#include <thread>

#include "platform/os/cpu_relax.h"
#include "platform/qxutils/lock_fault.h"

namespace qxutils {

namespace {

using Clock = std::chrono::steady_clock;

constexpr std::uint64_t oneInside = 1;
constexpr std::uint64_t oneReaderWaiting = std::uint64_t{1} << 20;
constexpr std::uint64_t oneWriterWaiting = std::uint64_t{1} << 40;
constexpr std::uint64_t countMask = (std::uint64_t{1} << 20) - 1;
constexpr std::uint64_t insideMask = countMask;
constexpr std::uint64_t readersWaitingMask = countMask << 20;
constexpr std::uint64_t writersWaitingMask = countMask << 40;
constexpr std::uint64_t handoffBit = std::uint64_t{1} << 61;
constexpr std::uint64_t phaseBit = std::uint64_t{1} << 62;
constexpr std::uint64_t writerBit = std::uint64_t{1} << 63;

// Spinning makes no sense where no other processor could end the wait.
std::chrono::microseconds SpinTime() {
    static const std::chrono::microseconds spinTime(std::thread::hardware_concurrency() == 1 ? 0 : 30);
    return spinTime;
}

// A writer that has waited this long is not overtaken by other writers any more.
constexpr std::chrono::milliseconds overtakeTime(1);

// Word after the waiting readers have been let in.
constexpr std::uint64_t LetReadersIn(std::uint64_t word) {
    const std::uint64_t waiting = (word & readersWaitingMask) / oneReaderWaiting;
    return waiting == 0 ? word : ((word & ~readersWaitingMask) + waiting * oneInside) ^ phaseBit;
}

constexpr bool ReaderMayEnter(std::uint64_t word) {
    return (word & (writerBit | writersWaitingMask)) == 0;
}

constexpr bool WriterMayEnter(std::uint64_t word) {
    return (word & (writerBit | insideMask)) == 0;
}

struct Held {
    const RecursiveReadWriteLock* lock;
    int reads;
    int writes;
};

// The locks that this thread holds, a handful at most. Plain data, so that its use needs no guard of
// initialisation.
struct HeldTable {
    static constexpr std::size_t inPlace = 8;

    Held first[inPlace];
    Held* more;  // null, or room for `moreCapacity`
    std::size_t moreCapacity;
    std::size_t count;

    Held& At(std::size_t i) { return i < inPlace ? first[i] : more[i - inPlace]; }

    Held* Find(const RecursiveReadWriteLock* lock) {
        for (std::size_t i = 0; i < count; ++i) {
            if (At(i).lock == lock) {
                return &At(i);
            }
        }
        return nullptr;
    }

    void Add(const RecursiveReadWriteLock* lock, int reads, int writes) {
        At(count++) = Held{lock, reads, writes};
    }

    // Room for one more, so that Add can't fail while a lock is held.
    void Reserve() {
        if (count >= inPlace + moreCapacity) {
            Grow();
        }
    }

    void Remove(Held* held) {
        *held = At(--count);
        if (count <= inPlace && more != nullptr) {
            delete[] more;
            more = nullptr;
            moreCapacity = 0;
        }
    }

  private:
    void Grow() {
        const std::size_t capacity = moreCapacity == 0 ? inPlace : 2 * moreCapacity;
        Held* const grown = new Held[capacity];
        for (std::size_t i = inPlace; i < count; ++i) {
            grown[i - inPlace] = more[i - inPlace];
        }
        delete[] more;
        more = grown;
        moreCapacity = capacity;
    }
};

thread_local HeldTable heldLocks;

// How long one wait goes on: first spinning, then asleep, until the deadline if there is one.
class Patience {
  public:
    explicit Patience(long timeoutMs)
        : begin(Clock::now()),
          limited(timeoutMs >= 0),
          deadline(begin + std::chrono::milliseconds(limited ? timeoutMs : 0)) {}

    // Looks at `done` for the spinning time or until it is true; returns its last value.
    template <class Done>
    bool Spin(const Done& done) const {
        const Clock::time_point spinEnd = begin + SpinTime();
        const Clock::time_point end = limited && deadline < spinEnd ? deadline : spinEnd;
        do {
            for (int i = 0; i < 16; ++i) {
                if (done()) {
                    return true;
                }
                qxos::CpuRelax();
            }
        } while (Clock::now() < end);
        return done();
    }

    // Waits for a notification, at most until `latest` or the deadline.
    void Sleep(std::condition_variable& condition, std::unique_lock<std::mutex>& guard) const {
        if (limited) {
            condition.wait_until(guard, deadline);
        } else {
            condition.wait(guard);
        }
    }

    bool IsOver() const { return limited && Clock::now() >= deadline; }
    bool MayNotBeOvertaken() const { return Clock::now() - begin >= overtakeTime; }

  private:
    const Clock::time_point begin;
    const bool limited;
    const Clock::time_point deadline;
};

}  // namespace

RecursiveReadWriteLock::RecursiveReadWriteLock() = default;

RecursiveReadWriteLock::~RecursiveReadWriteLock() = default;

bool RecursiveReadWriteLock::ReadLock(long timeoutMs) {
    if (internal::LockRefused(this)) {
        return false;
    }
    HeldTable& held = heldLocks;
    if (Held* const mine = held.Find(this)) {
        ++mine->reads;
        return true;
    }
    held.Reserve();
    std::uint64_t word = state.load(std::memory_order_relaxed);
    if (!(ReaderMayEnter(word) && state.compare_exchange_strong(word, word + oneInside)) &&
        !ReadLockSlow(timeoutMs)) {
        return false;
    }
    held.Add(this, 1, 0);
    return true;
}

bool RecursiveReadWriteLock::WriteLock(long timeoutMs) {
    if (internal::LockRefused(this)) {
        return false;
    }
    HeldTable& held = heldLocks;
    if (Held* const mine = held.Find(this)) {
        if (mine->writes == 0) {
            return false;
        }
        ++mine->writes;
        return true;
    }
    held.Reserve();
    std::uint64_t word = state.load(std::memory_order_relaxed);
    if (!((word & ~phaseBit) == 0 && state.compare_exchange_strong(word, word | writerBit)) &&
        !WriteLockSlow(timeoutMs)) {
        return false;
    }
    held.Add(this, 0, 1);
    return true;
}

bool RecursiveReadWriteLock::ReadUnlock(long) {
    HeldTable& held = heldLocks;
    Held* const mine = held.Find(this);
    if (mine == nullptr || mine->reads == 0) {
        return false;
    }
    if (--mine->reads == 0 && mine->writes == 0) {
        held.Remove(mine);
        ReleaseRead();
    }
    return true;
}

bool RecursiveReadWriteLock::WriteUnlock(long) {
    HeldTable& held = heldLocks;
    Held* const mine = held.Find(this);
    if (mine == nullptr || mine->writes == 0) {
        return false;
    }
    if (--mine->writes == 0) {
        const bool keepRead = mine->reads != 0;
        if (!keepRead) {
            held.Remove(mine);
        }
        ReleaseWrite(keepRead);
    }
    return true;
}

bool RecursiveReadWriteLock::ReadLockSlow(long timeoutMs) {
    std::uint64_t word = state.load();
    std::uint64_t next;
    do {
        if (!ReaderMayEnter(word) && timeoutMs == 0) {
            return false;
        }
        next = word + (ReaderMayEnter(word) ? oneInside : oneReaderWaiting);
    } while (!state.compare_exchange_weak(word, next));
    if (ReaderMayEnter(word)) {
        return true;
    }

    const std::uint64_t phase = word & phaseBit;
    const auto letIn = [this, phase] {
        std::uint64_t now = state.load();
        while ((now & phaseBit) == phase) {
            if (!ReaderMayEnter(now)) {
                return false;
            }
            if (state.compare_exchange_weak(now, now - oneReaderWaiting + oneInside)) {
                return true;
            }
        }
        return true;
    };
    const Patience patience(timeoutMs);
    if (patience.Spin(letIn)) {
        return true;
    }
    std::unique_lock<std::mutex> guard(sleepMutex);
    ++sleepers;
    bool inside = false;
    bool over = false;
    while (!(inside = letIn()) && !over) {
        patience.Sleep(sleepCondition, guard);
        over = patience.IsOver();
    }
    --sleepers;
    guard.unlock();
    return inside || !LeaveReadQueue(phase);
}

bool RecursiveReadWriteLock::WriteLockSlow(long timeoutMs) {
    std::uint64_t word = state.load();
    std::uint64_t next;
    bool entered;
    do {
        entered = (word & ~phaseBit) == 0;
        if (!entered && timeoutMs == 0) {
            return false;
        }
        next = entered ? word | writerBit : word + oneWriterWaiting;
    } while (!state.compare_exchange_weak(word, next));
    if (entered) {
        return true;
    }

    bool handoff = false;  // this thread has set the bit
    const auto enter = [this, &handoff] {
        std::uint64_t now = state.load();
        while (WriterMayEnter(now) && (handoff || (now & handoffBit) == 0)) {
            const std::uint64_t mine = ((now | writerBit) - oneWriterWaiting) & ~(handoff ? handoffBit : 0);
            if (state.compare_exchange_weak(now, mine)) {
                return true;
            }
        }
        return false;
    };
    const Patience patience(timeoutMs);
    if (patience.Spin(enter)) {
        return true;
    }
    std::unique_lock<std::mutex> guard(sleepMutex);
    ++sleepers;
    bool entering = false;
    bool over = false;
    while (!(entering = enter()) && !over) {
        if (!handoff && patience.MayNotBeOvertaken()) {
            handoff = (state.fetch_or(handoffBit) & handoffBit) == 0;
            if (handoff) {
                continue;
            }
        }
        patience.Sleep(sleepCondition, guard);
        over = patience.IsOver();
    }
    --sleepers;
    guard.unlock();
    if (entering) {
        return true;
    }
    LeaveWriteQueue(handoff);
    return false;
}

void RecursiveReadWriteLock::ReleaseRead() {
    const std::uint64_t before = state.fetch_sub(oneInside);
    if ((before & insideMask) == oneInside && (before & writersWaitingMask) != 0) {
        WakeSleepers();
    }
}

void RecursiveReadWriteLock::ReleaseWrite(bool keepRead) {
    std::uint64_t word = state.load(std::memory_order_relaxed);
    std::uint64_t next;
    do {
        next = LetReadersIn(word & ~writerBit) + (keepRead ? oneInside : 0);
    } while (!state.compare_exchange_weak(word, next));
    if ((word & (readersWaitingMask | writersWaitingMask)) != 0) {
        WakeSleepers();
    }
}

// False when the reader was let in meanwhile, and so holds the lock.
bool RecursiveReadWriteLock::LeaveReadQueue(std::uint64_t phase) {
    std::uint64_t word = state.load();
    do {
        if ((word & phaseBit) != phase) {
            return false;
        }
    } while (!state.compare_exchange_weak(word, word - oneReaderWaiting));
    return true;
}

void RecursiveReadWriteLock::LeaveWriteQueue(bool handoff) {
    std::uint64_t word = state.load();
    while (!state.compare_exchange_weak(word, (word - oneWriterWaiting) & ~(handoff ? handoffBit : 0))) {
    }
    WakeSleepers();
}

void RecursiveReadWriteLock::WakeSleepers() {
    // The word was changed before this look, and a sleeper counts itself before its last look at the word:
    // one of the two sees the other (both are sequentially consistent).
    if (sleepers.load() != 0) {
        { const std::lock_guard<std::mutex> guard(sleepMutex); }
        sleepCondition.notify_all();
    }
}

ReadLockGuard::ReadLockGuard(RecursiveReadWriteLock& target, bool lockNow, long limitMs)
    : lock(target), timeoutMs(limitMs) {
    if (lockNow) {
        Relock();
    }
}

ReadLockGuard::~ReadLockGuard() {
    Unlock();
}

bool ReadLockGuard::Relock() {
    if (!locked) {
        locked = lock.ReadLock(timeoutMs);
    }
    return locked;
}

void ReadLockGuard::Unlock() {
    if (locked) {
        locked = false;
        lock.ReadUnlock();
    }
}

WriteLockGuard::WriteLockGuard(RecursiveReadWriteLock& target, bool lockNow, long limitMs)
    : lock(target), timeoutMs(limitMs) {
    if (lockNow) {
        Relock();
    }
}

WriteLockGuard::~WriteLockGuard() {
    Unlock();
}

bool WriteLockGuard::Relock() {
    if (!locked) {
        locked = lock.WriteLock(timeoutMs);
        if (!locked && timeoutMs < 0) {
            throw std::runtime_error("Unable to acquire lock!");
        }
    }
    return locked;
}

void WriteLockGuard::Unlock() {
    if (locked) {
        locked = false;
        lock.WriteUnlock();
    }
}

}  // namespace qxutils
