// SPDX-License-Identifier: GPL-3.0-or-later
// Confines itself as the helper does, tries what is forbidden, and writes a line "name: errno" (0
// for "it worked") for each attempt to standard error, the one stream that it may write to.
#include "extract/helper/Sandbox.h"

#include <cerrno>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <string>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/ptrace.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <unistd.h>

using namespace vellumhound::extract;

namespace {

void report(const char *name, long result)
{
    const int error = result < 0 ? errno : 0;
    const auto line = std::string(name) + ": " + std::to_string(error) + "\n";
    if (::write(STDERR_FILENO, line.data(), line.size()) < 0)
        std::abort();
}

void tryFiles(const std::string &folder)
{
    report("read another file", ::open("/etc/passwd", O_RDONLY));
    report("list a folder", ::open("/", O_RDONLY | O_DIRECTORY));
    report("open for writing", ::open("/dev/null", O_WRONLY));
    report("create", ::open((folder + "/new").c_str(), O_CREAT | O_RDWR, 0600));
    report("create without a name", ::open(folder.c_str(), O_TMPFILE | O_RDWR, 0600));
    report("truncate", ::truncate((folder + "/there").c_str(), 0));
    report("unlink", ::unlink((folder + "/there").c_str()));
    report("rename", ::rename((folder + "/there").c_str(), (folder + "/gone").c_str()));
    report("write to standard output", ::write(STDOUT_FILENO, "x", 1));
    report("memory file", ::memfd_create("x", 0));
}

void tryProcesses(pid_t parent)
{
    char *const none[] = {nullptr};
    report("fork", ::syscall(SYS_fork));
    report("clone", ::syscall(SYS_clone, SIGCHLD, nullptr, nullptr, nullptr, nullptr));
    report("exec", ::execve("/bin/true", none, none));
    report("trace", ::ptrace(PTRACE_ATTACH, parent, nullptr, nullptr));
    report("signal another", ::kill(parent, 0));
    report("become dumpable", ::prctl(PR_SET_DUMPABLE, 1, 0, 0, 0));
    const rlimit limit{1, 1};
    report("set a limit", ::setrlimit(RLIMIT_NOFILE, &limit));
}

void tryOthers()
{
    report("socket", ::socket(AF_UNIX, SOCK_STREAM, 0));
    report("internet socket", ::socket(AF_INET, SOCK_STREAM, 0));
    report("executable memory", ::mmap(nullptr, 4096, PROT_READ | PROT_EXEC,
                                    MAP_PRIVATE | MAP_ANONYMOUS, -1, 0) == MAP_FAILED
                                    ? -1
                                    : 0);
    report("io_uring", ::syscall(SYS_io_uring_setup, 1, nullptr));
    report("bpf", ::syscall(SYS_bpf, 0, nullptr, 0));
    report("mount", ::syscall(SYS_mount, "x", "/", "tmpfs", 0, nullptr));
    report("four gigabytes", ::mmap(nullptr, std::size_t(4) << 30, PROT_READ | PROT_WRITE,
                                 MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0) == MAP_FAILED
                                 ? -1
                                 : 0);
    // What it is there for.
    report("allowed: memory", std::malloc(1 << 20) ? 0 : -1);
    report("allowed: read a file that is open", ::pread(0, nullptr, 0, 0));
}

}  // namespace

int main(int argc, char **argv)
{
    const std::string folder = argc > 1 ? argv[1] : ".";
    const pid_t parent = ::getppid();
    const auto confinement = helper::confine();
    if (!confinement)
        return 1;
    report(confinement->landlockVersion > 0 ? "has landlock" : "has no landlock", 0);
    tryFiles(folder);
    tryProcesses(parent);
    tryOthers();
    ::_exit(0);
}
