// Gives the test process file systems of its own at /tmp, /mnt and /var/log, so that the platform's fixed paths are
// real and the machine stays untouched, however many tests run at once. The devices that tests write to cannot be
// removed or replaced by them.
#ifndef KELP_TESTS_SUPPORT_PRIVATE_NAMESPACE_H
#define KELP_TESTS_SUPPORT_PRIVATE_NAMESPACE_H

namespace KelpTest {

// Called first thing in main(). Works as root and as an ordinary user; the user then seems to be root inside, which
// isRealRoot() tells apart. Ends the process with a message where the kernel allows neither.
void enterPrivateNamespace(char** argv);

// Whether the process has root's rights over the machine, not only inside its own user namespace.
bool isRealRoot();

}  // namespace KelpTest

#endif  // KELP_TESTS_SUPPORT_PRIVATE_NAMESPACE_H
