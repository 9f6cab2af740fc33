// SPDX-License-Identifier: MIT
// A library to preload into a program: fails the Nth call of a kind, and records what the program
// does to files. It sees what the C library does inside, too: the kernel hands the calls back in a
// signal, and here they are made, or not.
//   FAULTS_COUNTS  a file of KIND_COUNT 64-bit numbers that count the calls of each kind
//   FAULTS_FAIL    KIND:N:ERRNO, the kind by its place below; ERRNO 0 makes a write a short one
//   FAULTS_RECORD  a file that gets a line for each change of a file, with the bytes written
#include <cerrno>
#include <climits>
#include <csignal>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iterator>

#include <dlfcn.h>
#include <fcntl.h>
#include <linux/audit.h>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <pthread.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <ucontext.h>

#ifndef __x86_64__
#error "The stub below is written for x86-64."
#endif

// The only place from which the calls below reach the kernel.
extern "C" {
long faultsCall(long number, ...);
extern const char faultsReturn[];
}
asm(R"(
    .globl faultsCall, faultsReturn
faultsCall:
    mov %rdi, %rax
    mov %rsi, %rdi
    mov %rdx, %rsi
    mov %rcx, %rdx
    mov %r8, %r10
    mov %r9, %r8
    mov 8(%rsp), %r9
    syscall
faultsReturn:
    ret
)");

namespace {

enum Kind {
    OPEN,
    READ,
    WRITE,
    FSYNC,
    RENAME,
    UNLINK,
    MKDIR,
    STAT,
    LOCK,
    SOCKET,
    MALLOC,
    THREAD,
    KIND_COUNT
};

struct Call {
    long number;
    Kind kind;
    const char *record;  // what it does to files, null: nothing
};
constexpr Call calls[] = {
    {SYS_openat, OPEN, nullptr},       {SYS_open, OPEN, nullptr},
    {SYS_read, READ, nullptr},         {SYS_pread64, READ, nullptr},
    {SYS_getdents64, READ, nullptr},   {SYS_write, WRITE, "write"},
    {SYS_writev, WRITE, nullptr},      {SYS_pwrite64, WRITE, "pwrite"},
    {SYS_fsync, FSYNC, "fsync"},       {SYS_rename, RENAME, "rename"},
    {SYS_renameat2, RENAME, "rename"}, {SYS_link, RENAME, "link"},
    {SYS_unlink, UNLINK, "unlink"},    {SYS_rmdir, UNLINK, "unlink"},
    {SYS_mkdir, MKDIR, "mkdir"},       {SYS_newfstatat, STAT, nullptr},
    {SYS_flock, LOCK, nullptr},        {SYS_ftruncate, LOCK, "truncate"},
    {SYS_socket, SOCKET, nullptr},     {SYS_bind, SOCKET, nullptr},
    {SYS_accept4, SOCKET, nullptr},    {SYS_access, STAT, nullptr},
    {SYS_unlinkat, UNLINK, nullptr},   {SYS_msgget, SOCKET, nullptr},
    {SYS_msgctl, SOCKET, nullptr},
};
constexpr std::size_t CALL_COUNT = std::size(calls);

std::uint64_t ownCounts[KIND_COUNT];
std::uint64_t *counts = ownCounts;
int failKind = -1;
int failError;
std::uint64_t failAt;
long record = -1;

// Counts a call; true when it is the one to fail.
bool isFault(Kind kind) {
    return __atomic_add_fetch(&counts[kind], 1, __ATOMIC_SEQ_CST) == failAt && kind == failKind;
}

// Writes "WHAT <tab> NAME <tab> OTHER <tab> SIZE" and so many bytes.
void writeRecord(const char *what, const char *name, const char *other, const void *bytes,
                 long size) {
    char line[2 * PATH_MAX + 64];
    const int length =
        std::snprintf(line, sizeof line, "%s\t%s\t%s\t%ld\n", what, name, other, size);
    static volatile int busy;
    while (__atomic_exchange_n(&busy, 1, __ATOMIC_ACQUIRE) != 0) continue;
    faultsCall(SYS_write, record, line, static_cast<long>(length));
    if (size > 0) faultsCall(SYS_write, record, bytes, size);
    __atomic_store_n(&busy, 0, __ATOMIC_RELEASE);
}

void nameOf(long fd, char (&name)[PATH_MAX]) {
    char link[32];
    std::snprintf(link, sizeof link, "/proc/self/fd/%ld", fd);
    const long length = faultsCall(SYS_readlink, link, name, sizeof name - 1);
    name[length > 0 ? length : 0] = '\0';
}

// Records a call that was made; `at` is where a write began.
void recordCall(const Call *call, const greg_t *r, long at) {
    char name[PATH_MAX];
    char number[24];
    const auto *path = reinterpret_cast<const char *>(r[REG_RDI]);
    switch (call->number) {
        case SYS_write:
        case SYS_pwrite64:
            nameOf(r[REG_RDI], name);
            std::snprintf(number, sizeof number, "%ld",
                          call->number == SYS_write ? at : static_cast<long>(r[REG_R10]));
            writeRecord(r[REG_RDI] == 2 ? "log" : "write", name, number,
                        reinterpret_cast<const void *>(r[REG_RSI]), r[REG_RAX]);
            break;
        case SYS_fsync:
        case SYS_ftruncate:
            nameOf(r[REG_RDI], name);
            std::snprintf(number, sizeof number, "%lld", static_cast<long long>(r[REG_RSI]));
            writeRecord(call->record, name, number, "", 0);
            break;
        case SYS_renameat2:
            writeRecord("rename", reinterpret_cast<const char *>(r[REG_RSI]),
                        reinterpret_cast<const char *>(r[REG_R10]), "", 0);
            break;
        case SYS_rename:
        case SYS_link:
            writeRecord(call->record, path, reinterpret_cast<const char *>(r[REG_RSI]), "", 0);
            break;
        default:
            writeRecord(call->record, path, "", "", 0);
    }
}

void onCall(int, siginfo_t *info, void *context) {
    const int savedErrno = errno;
    greg_t *r = static_cast<ucontext_t *>(context)->uc_mcontext.gregs;
    const Call *call = calls;
    while (call->number != info->si_syscall) ++call;
    const bool isLog = call->kind == WRITE && r[REG_RDI] <= 2;
    const bool fails = !isLog && isFault(call->kind);
    if (fails && failError != 0) {
        r[REG_RAX] = -failError;
    } else {
        if (fails && r[REG_RDX] > 1) r[REG_RDX] /= 2;
        const long at = record >= 0 && call->number == SYS_write
                            ? faultsCall(SYS_lseek, r[REG_RDI], 0L, 1L)
                            : 0;
        r[REG_RAX] = faultsCall(info->si_syscall, r[REG_RDI], r[REG_RSI], r[REG_RDX], r[REG_R10],
                                r[REG_R8], r[REG_R9]);
        if (record >= 0 && call->record != nullptr && r[REG_RAX] >= 0) recordCall(call, r, at);
    }
    errno = savedErrno;
}

// Lets the kernel hand back the calls of the table, unless they come from the stub.
void trapCalls() {
    const auto stub = reinterpret_cast<std::uintptr_t>(faultsReturn);
    sock_filter filter[8 + CALL_COUNT];
    std::size_t n = 0;
    const auto load = [&](std::size_t offset) {
        filter[n++] = BPF_STMT(BPF_LD | BPF_W | BPF_ABS, static_cast<std::uint32_t>(offset));
    };
    const auto jump = [&](std::uintptr_t value, std::size_t yes, std::size_t no) {
        filter[n++] = BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, static_cast<std::uint32_t>(value),
                               static_cast<std::uint8_t>(yes), static_cast<std::uint8_t>(no));
    };
    load(offsetof(seccomp_data, instruction_pointer));
    jump(stub & 0xFFFFFFFFu, 0, 2);
    load(offsetof(seccomp_data, instruction_pointer) + 4);
    jump(stub >> 32, CALL_COUNT + 1, 0);
    load(offsetof(seccomp_data, nr));
    for (std::size_t i = 0; i < CALL_COUNT; ++i)
        jump(static_cast<std::uintptr_t>(calls[i].number), CALL_COUNT - i, 0);
    filter[n++] = BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW);
    filter[n++] = BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_TRAP);
    const sock_fprog program = {static_cast<unsigned short>(n), filter};
    prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0);
    prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &program);
}

[[gnu::constructor]] void begin() {
    if (const char *path = std::getenv("FAULTS_COUNTS"); path != nullptr) {
        const int fd = open(path, O_RDWR | O_CLOEXEC);
        void *map = mmap(nullptr, sizeof ownCounts, PROT_READ | PROT_WRITE, MAP_SHARED, fd, 0);
        if (map != MAP_FAILED) counts = static_cast<std::uint64_t *>(map);
    }
    if (const char *fault = std::getenv("FAULTS_FAIL"); fault != nullptr)
        std::sscanf(fault, "%d:%lu:%d", &failKind, &failAt, &failError);
    if (const char *path = std::getenv("FAULTS_RECORD"); path != nullptr)
        record = open(path, O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0600);
    struct sigaction action {};
    action.sa_sigaction = onCall;
    action.sa_flags = SA_SIGINFO | SA_NODEFER | SA_RESTART;
    sigaction(SIGSYS, &action, nullptr);
    trapCalls();
}

template <class Function>
Function *next(Function *, const char *name) {
    return reinterpret_cast<Function *>(dlsym(RTLD_NEXT, name));
}

int setMask(int how, const sigset_t *set, sigset_t *old) {
    sigset_t allowed;
    if (set != nullptr) {
        allowed = *set;
        if (how != SIG_UNBLOCK) sigdelset(&allowed, SIGSYS);
    }
    return static_cast<int>(-faultsCall(SYS_rt_sigprocmask, static_cast<long>(how),
                                        set != nullptr ? &allowed : nullptr, old, 8L));
}

}  // namespace

extern "C" {

// Whoever blocks all signals would end at the next call.
int pthread_sigmask(int how, const sigset_t *set, sigset_t *old) {
    return setMask(how, set, old);
}
int sigprocmask(int how, const sigset_t *set, sigset_t *old) {
    errno = setMask(how, set, old);
    return errno == 0 ? 0 : -1;
}

int pthread_create(pthread_t *thread, const pthread_attr_t *attributes, void *(*body)(void *),
                   void *argument) {
    if (isFault(THREAD)) return failError;
    return next(pthread_create, "pthread_create")(thread, attributes, body, argument);
}

void *__libc_malloc(std::size_t);
void *__libc_calloc(std::size_t, std::size_t);
void *__libc_realloc(void *, std::size_t);

void *malloc(std::size_t size) {
    return isFault(MALLOC) ? (errno = ENOMEM, nullptr) : __libc_malloc(size);
}
void *calloc(std::size_t count, std::size_t size) {
    return isFault(MALLOC) ? (errno = ENOMEM, nullptr) : __libc_calloc(count, size);
}
void *realloc(void *block, std::size_t size) {
    return isFault(MALLOC) ? (errno = ENOMEM, nullptr) : __libc_realloc(block, size);
}
}
