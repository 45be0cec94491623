#include "support/PrivateNamespace.h"

#include <errno.h>
#include <fcntl.h>
#include <sched.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <unistd.h>

#include <string>
#include <vector>

#include "support/Emulator.h"

namespace KelpTest {

namespace {

constexpr char kOuterUserVariable[] = "KELP_TEST_OUTER_UID";

[[noreturn]] void fail(const std::string& what) {
  fprintf(stderr, "The tests need a private mount namespace: %s: %s\n", what.c_str(), strerror(errno));
  exit(1);
}

void writeFile(const char* path, const std::string& text) {
  const int fd = open(path, O_WRONLY | O_CLOEXEC);
  if (fd == -1 || write(fd, text.data(), text.size()) != static_cast<ssize_t>(text.size())) {
    fail(path);
  }
  close(fd);
}

void mapToRoot(uid_t uid, gid_t gid) {
  writeFile("/proc/self/setgroups", "deny");
  writeFile("/proc/self/uid_map", "0 " + std::to_string(uid) + " 1");
  writeFile("/proc/self/gid_map", "0 " + std::to_string(gid) + " 1");
}

std::string ownProgram() {
  std::string path(4096, '\0');
  const ssize_t length = readlink("/proc/self/exe", &path[0], path.size() - 1);
  if (length <= 0) {
    fail("/proc/self/exe");
  }
  path.resize(static_cast<size_t>(length));
  return path;
}

// A process with more than one thread, such as a sanitizer's or an emulator's, cannot enter a user namespace: another
// program enters it and starts this one again.
[[noreturn]] void startAgainInside(char** argv) {
  std::vector<std::string> command = {"unshare", "--user", "--map-root-user", "--mount"};
  for (const std::string& word : emulatorCommand()) {
    command.push_back(word);
  }
  command.push_back(ownProgram());
  for (char** argument = argv + 1; *argument != nullptr; ++argument) {
    command.emplace_back(*argument);
  }
  std::vector<char*> arguments;
  for (std::string& word : command) {
    arguments.push_back(&word[0]);
  }
  arguments.push_back(nullptr);
  execvp("unshare", arguments.data());
  fail("unshare");
}

void enterNamespaces(char** argv) {
  const uid_t uid = geteuid();
  const gid_t gid = getegid();
  if (getenv(kOuterUserVariable) == nullptr) {
    setenv(kOuterUserVariable, std::to_string(uid).c_str(), 1);
  }
  if (uid == 0 && unshare(CLONE_NEWNS) == 0) {
    return;
  }
  if (unshare(CLONE_NEWUSER | CLONE_NEWNS) == 0) {
    mapToRoot(uid, gid);
    return;
  }
  if (errno == EINVAL) {
    startAgainInside(argv);
  }
  fail("unshare");
}

bool isBelow(const std::string& path, const std::string& parent) {
  return path.compare(0, parent.size() + 1, parent + "/") == 0;
}

void makeDirectories(const std::string& path) {
  for (size_t end = path.find('/', 1); end != std::string::npos; end = path.find('/', end + 1)) {
    mkdir(path.substr(0, end).c_str(), 0755);
  }
  mkdir(path.c_str(), 0755);
}

// Puts an empty file system over `path`, and back into it what has to stay reachable there.
void cover(const char* path, const char* options) {
  const std::vector<std::string> kept = {KELP_SOURCE_DIR, KELP_BINARY_DIR};
  std::vector<int> fds;
  for (const std::string& directory : kept) {
    fds.push_back(isBelow(directory, path) ? open(directory.c_str(), O_PATH | O_CLOEXEC) : -1);
  }
  if (mount("tmpfs", path, "tmpfs", 0, options) != 0) {
    fail(path);
  }
  for (size_t i = 0; i < kept.size(); ++i) {
    if (fds[i] == -1) {
      continue;
    }
    makeDirectories(kept[i]);
    if (mount(("/proc/self/fd/" + std::to_string(fds[i])).c_str(), kept[i].c_str(), "none", MS_BIND | MS_REC,
              nullptr) != 0) {
      fail(kept[i]);
    }
    close(fds[i]);
  }
}

// What root's tests write to but must not be able to remove or replace, whatever the library under test does: there is
// one for the whole machine. Nothing can be removed that something is mounted on.
void protect(const char* path) {
  if (access(path, F_OK) == 0 && mount(path, path, "none", MS_BIND, nullptr) != 0) {
    fail(path);
  }
}

}  // namespace

void enterPrivateNamespace(char** argv) {
  enterNamespaces(argv);
  if (mount("none", "/", "none", MS_REC | MS_PRIVATE, nullptr) != 0) {
    fail("/");
  }
  cover("/tmp", "mode=1777");
  cover("/mnt", "mode=0755");
  cover("/var/log", "mode=0755");
  protect("/dev/full");
  protect("/dev/null");
  for (const char* directory : {"/tmp/Kelp", "/tmp/Kelpapp", "/mnt/system/kelp", "/mnt/log/kelp", "/var/log/kelp"}) {
    makeDirectories(directory);
  }
}

bool isRealRoot() {
  const char* outerUser = getenv(kOuterUserVariable);
  return outerUser != nullptr && strcmp(outerUser, "0") == 0;
}

}  // namespace KelpTest
