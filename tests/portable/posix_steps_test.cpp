// What the command-line host asks of the system, as only POSIX systems have it.
#include <fcntl.h>
#include <gmock/gmock.h>
#include <sched.h>
#include <signal.h>
#include <sys/ioctl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <iostream>

#include "steps/platform/interrupt.h"
#include "steps/platform/processors.h"
#include "steps/platform/terminal.h"
#include "tests/steps_platform.h"

namespace fs = std::filesystem;
using testing::ElementsAre;

namespace {

/// Runs `code` in a process of its own. Expects that it writes nothing but reports no failure.
void InChild(const std::function<void()>& code) {
  std::cout.flush();
  const pid_t child = fork();
  if (child == 0) {
    code();
    std::cout.flush();
    _exit(testing::Test::HasFailure() ? 1 : 0);
  }
  int status = 0;
  waitpid(child, &status, 0);
  EXPECT_EQ(status, 0);
}

/// A user whom permissions bind.
void BecomeNobody() {
  if (geteuid() == 0) {
    ASSERT_EQ(setresuid(65534, 65534, 65534), 0);
  }
}

mode_t ModeOf(const std::string& path) {
  struct stat status {};
  EXPECT_EQ(stat(path.c_str(), &status), 0);
  return status.st_mode & 07777;
}

TEST(PosixSteps, NamesAreAnyBytes) {
  const std::string folder = EmptyFolder(), name = "\xFF\xFE\x80 \xC3\x28\n.bmp";
  Write(folder + name, "text");
  EXPECT_EQ(TextOf(folder + name), "text");
  EXPECT_THAT(NamesIn(folder), ElementsAre(name));
  EXPECT_EQ(FileName(PathKey(folder + name)), name);
}

TEST(PosixSteps, ReplacedFilesHandTheirPermissionsOn) {
  const std::string path = EmptyFolder() + "a";
  umask(022);
  Write(path, "one");
  EXPECT_EQ(ModeOf(path), 0644u);
  for (const mode_t mode : {0640, 0600, 0777, 0666}) {
    chmod(path.c_str(), mode);
    Write(path, "two", {.overwrite = true});
    EXPECT_EQ(ModeOf(path), mode);
  }
}

TEST(PosixSteps, PermissionsAreRespected) {
  const std::string folder = EmptyFolder();
  Write(folder + "kept", "kept");
  Write(folder + "secret", "secret");
  MakeFolders(folder + "closed");
  Write(folder + "closed/a", "");
  chmod((folder + "kept").c_str(), 0444);
  chmod((folder + "secret").c_str(), 0);
  chmod((folder + "closed").c_str(), 0);
  chmod(folder.c_str(), 0777);
  InChild([&] {
    BecomeNobody();
    const std::string reason = std::strerror(EACCES);
    EXPECT_EQ(ErrorOf([&] { Write(folder + "kept", "new", {.overwrite = true}); }), reason);
    EXPECT_EQ(TextOf(folder + "kept"), "kept");
    EXPECT_EQ(ErrorOf([&] { ReadFile(folder + "secret"); }), reason);
    EXPECT_EQ(ErrorOf([&] { LogFile(folder + "kept"); }), reason);
    EXPECT_EQ(ErrorOf([&] { ListFolder(folder + "closed"); }), reason);
    EXPECT_EQ(ErrorOf([&] { Inspect(folder + "closed/a"); }), reason);
    EXPECT_EQ(ErrorOf([&] { MakeFolders(folder + "closed/b/c"); }), reason);
    chmod(folder.c_str(), 0555);
  });
  EXPECT_THAT(NamesIn(folder), ElementsAre("closed", "kept", "secret"));
  chmod((folder + "closed").c_str(), 0700);
}

TEST(PosixSteps, LinksAreFollowed) {
  const std::string folder = EmptyFolder();
  MakeFolders(folder + "in");
  fs::create_symlink("in/file", folder + "link");
  fs::create_symlink("../link", folder + "in/second");
  fs::create_symlink("in", folder + "place");
  fs::create_symlink("round", folder + "round");
  EXPECT_EQ(Inspect(folder + "link").kind, FileInfo::Kind::kNone);
  EXPECT_EQ(PathKey(folder + "in/second"), PathKey(folder + "place/file")) << "before it exists";
  Write(folder + "in/second", "one");
  Write(folder + "link", "two", {.overwrite = true});
  EXPECT_TRUE(fs::is_symlink(folder + "link") && fs::is_symlink(folder + "in/second"));
  EXPECT_EQ(TextOf(folder + "in/file"), "two");
  EXPECT_EQ(Inspect(folder + "link").identity, Inspect(folder + "in/file").identity);
  EXPECT_THAT(NamesIn(folder + "in"), ElementsAre("file", "second"));
  for (const auto& call : {+[](const std::string& path) { Inspect(path); },
                           +[](const std::string& path) { Write(path, ""); },
                           +[](const std::string& path) { PathKey(path); }})
    EXPECT_EQ(ErrorOf([&] { call(folder + "round"); }), std::strerror(ELOOP));
  const Entry entry = ListFolder(folder)[2];
  EXPECT_TRUE(entry.name == "place" && entry.isFolder && entry.isLink);
}

TEST(PosixSteps, FullDisksLeaveWhatWasThere) {
  const std::string folder = EmptyFolder(), path = folder + "a";
  Write(path, "before");
  InChild([&] {
    PrepareStreams();
    const rlimit least{.rlim_cur = 1000, .rlim_max = 1000};
    setrlimit(RLIMIT_FSIZE, &least);
    const std::string much(100'000, 'x'), reason = std::strerror(EFBIG);
    EXPECT_EQ(ErrorOf([&] { Write(path, much, {.overwrite = true}); }), reason);
    EXPECT_EQ(ErrorOf([&] { Write(folder + "b", much); }), reason);
    LogFile log(folder + "log");
    log.Append(std::string(989, '1'));
    EXPECT_EQ(ErrorOf([&] { log.Append("0123456789"); }), reason);
    EXPECT_EQ(ftruncate(open((folder + "log").c_str(), O_WRONLY), 995), 0);
    log.Append("22");
  });
  EXPECT_EQ(TextOf(path), "before");
  EXPECT_EQ(TextOf(folder + "log").substr(988), "1\n01234\n22\n") << "a torn line has its end";
  EXPECT_THAT(NamesIn(folder), ElementsAre("a", "log"));
  EXPECT_EQ(ErrorOf([] { Write("/dev/full", "a"); }), std::strerror(ENOSPC));
}

TEST(PosixSteps, DevicesAndPipesAreWrittenInPlace) {
  const std::string folder = EmptyFolder(), pipe = folder + "pipe";
  Write("/dev/null", "gone");
  EXPECT_EQ(Inspect("/dev/null").kind, FileInfo::Kind::kOther);
  EXPECT_EQ(ErrorOf([] { ReadFile("/dev/null"); }), "it is no regular file");
  ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
  EXPECT_EQ(ErrorOf([&] { ReadFile(pipe); }), "it is no regular file") << "without waiting";
  const int reader = open(pipe.c_str(), O_RDONLY | O_NONBLOCK);
  Write(pipe, "text");
  char text[5] = "";
  EXPECT_EQ(read(reader, text, 4), 4);
  EXPECT_STREQ(text, "text");
  close(reader);
  EXPECT_EQ(Inspect(pipe).kind, FileInfo::Kind::kOther);
}

TEST(PosixSteps, StandardStreamsCarryBytes) {
  const std::string much = EmptyFolder() + "much";
  Write(much, std::string(200'001, 'x'));
  InChild([&] {
    PrepareStreams();
    int there[2], back[2];
    ASSERT_EQ(pipe(there) + pipe(back), 0);
    dup2(there[1], STDOUT_FILENO);
    dup2(back[0], STDIN_FILENO);
    close(back[0]);
    std::fputs("a", stdout);
    const std::uint8_t bytes[] = {'\r', '\n', 0, 26, 255};
    WriteStandardOutput(bytes);
    char got[7] = "";
    EXPECT_EQ(read(there[0], got, 7), 6);
    EXPECT_EQ(std::memcmp(got, "a\r\n\0\x1A\xFF", 6), 0);

    EXPECT_EQ(write(back[1], "ab", 2), 2);
    close(back[1]);
    EXPECT_EQ(ReadStandardInput().size(), 2u);
    dup2(open(much.c_str(), O_RDONLY), STDIN_FILENO);
    EXPECT_EQ(ReadStandardInput().size(), 200'001u);

    close(there[0]);
    EXPECT_THROW(WriteStandardOutput(bytes), BrokenPipe);
    close(STDOUT_FILENO);
    EXPECT_EQ(ErrorOf([&] { WriteStandardOutput(bytes); }), std::strerror(EBADF));
    dup2(STDERR_FILENO, STDOUT_FILENO);
  });
}

TEST(PosixSteps, ClosedStreamsAreNoFiles) {
  const std::string folder = EmptyFolder();
  InChild([&] {
    for (const int stream : {0, 1, 2}) close(stream);
    PrepareStreams();
    Write(folder + "a", "text");
    std::fputs("not in the file", stdout);
    LogFile log(folder + "log");
    std::fputs("not in the log", stderr);
    const std::uint8_t byte = 1;
    EXPECT_NE(ErrorOf([&] { WriteStandardOutput({&byte, 1}); }), "");
    EXPECT_NE(ErrorOf([&] { ReadStandardInput(); }), "");
  });
  EXPECT_EQ(TextOf(folder + "a") + TextOf(folder + "log"), "text");
}

TEST(PosixSteps, TerminalsTellTheirWidth) {
  const int terminal = posix_openpt(O_RDWR | O_NOCTTY);
  ASSERT_EQ(grantpt(terminal) + unlockpt(terminal), 0);
  const winsize size{.ws_row = 10, .ws_col = 123, .ws_xpixel = 0, .ws_ypixel = 0};
  ASSERT_EQ(ioctl(terminal, TIOCSWINSZ, &size), 0);
  InChild([&] {
    dup2(open(ptsname(terminal), O_RDWR | O_NOCTTY), STDIN_FILENO);
    EXPECT_TRUE(IsTerminal(Stream::kInput));
    EXPECT_EQ(TerminalWidth(Stream::kInput), 123);
  });
  close(terminal);
}

TEST(PosixSteps, EmptyVariablesCountAsNone) {
  setenv("RASTELO_TEST", "", 1);
  EXPECT_FALSE(EnvironmentHas("RASTELO_TEST"));
  setenv("RASTELO_TEST", "1", 1);
  EXPECT_TRUE(EnvironmentHas("RASTELO_TEST"));
}

TEST(PosixSteps, TheFirstInterruptIsNotedAndTheSecondEnds) {
  for (const int first : {SIGINT, SIGTERM})
    for (const int second : {SIGINT, SIGTERM}) {
      EXPECT_EXIT(
          {
            CatchInterrupts();
            raise(first);
            if (Interrupted() != first) _exit(1);
            raise(second);
            _exit(2);
          },
          testing::KilledBySignal(second), "");
    }
  EXPECT_EXIT(DieBySignal(SIGTERM), testing::KilledBySignal(SIGTERM), "");
  InChild([] {
    signal(SIGINT, SIG_IGN);
    CatchInterrupts();
    raise(SIGINT);
    EXPECT_EQ(Interrupted(), 0) << "ignored by those who started it";
  });
}

TEST(PosixSteps, AnInterruptEndsAWaitForInput) {
  InChild([] {
    int silent[2];
    ASSERT_EQ(pipe(silent), 0);
    dup2(silent[0], STDIN_FILENO);
    CatchInterrupts();
    const pid_t parent = getpid();
    if (fork() == 0) {
      usleep(100'000);
      kill(parent, SIGINT);
      _exit(0);
    }
    EXPECT_EQ(ErrorOf([] { ReadStandardInput(); }), std::strerror(EINTR));
    EXPECT_EQ(Interrupted(), SIGINT);
  });
}

TEST(PosixSteps, ProcessorsAreThoseThatMayBeUsed) {
  InChild([] {
    cpu_set_t allowed{}, one{};
    ASSERT_EQ(sched_getaffinity(0, sizeof allowed, &allowed), 0);
    EXPECT_LE(Processors(), CPU_COUNT(&allowed));
    int first = 0;
    while (!CPU_ISSET(first, &allowed)) ++first;
    CPU_SET(first, &one);
    ASSERT_EQ(sched_setaffinity(0, sizeof one, &one), 0);
    EXPECT_EQ(Processors(), 1);
  });
}

}  // namespace
