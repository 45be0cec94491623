#include <errno.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <unistd.h>

#include "ExecObjectDoNothing.h"
#include "ExecObjectEventSender.h"
#include "support/CallFaults.h"
#include "support/Descriptors.h"
#include "support/LogCapture.h"
#include "support/ObjectType.h"
#include "support/Pipe.h"

namespace {

using Kelp::ExecObject;
using Kelp::ExecObjectDoNothing;
using Kelp::ExecObjectEventSender;
using KelpTest::Call;
using KelpTest::callCount;
using KelpTest::CallFault;
using KelpTest::LogCapture;
using KelpTest::LogLine;
using KelpTest::Pipe;

const LogLine kFailedSend = KelpTest::errorLine("ExecObjectEventSender.cpp", 50, "send", "###ERROR###\n");

TEST(ExecObjectEventSenderTest, OwnsItsDescriptor) {
  Pipe pipe;
  const int fd = pipe.takeWriteEnd();
  {
    const ExecObjectEventSender sender(fd);
    EXPECT_EQ(sender.getFd(), fd);
    EXPECT_EQ(KelpTest::objectTypeOf(sender), 12);
  }
  EXPECT_FALSE(KelpTest::isOpen(fd));
}

TEST(ExecObjectEventSenderTest, MessageIsTheObjectsAddressInOneWrite) {
  Pipe pipe;
  ExecObjectEventSender sender(pipe.takeWriteEnd());
  ExecObjectDoNothing object;
  const int writes = callCount(Call::Write);
  sender.send(object);
  EXPECT_EQ(callCount(Call::Write), writes + 1);
  ExecObject* messages[2] = {};
  EXPECT_EQ(read(pipe.readEnd(), messages, sizeof(messages)), static_cast<ssize_t>(sizeof(ExecObject*)));
  EXPECT_EQ(messages[0], &object);
}

TEST(ExecObjectEventSenderTest, FailedSendIsLoggedAndTheObjectIsLeftAlone) {
  Pipe pipe;
  ExecObjectEventSender sender(pipe.takeWriteEnd());
  ExecObjectDoNothing object;
  const LogCapture log;
  const CallFault fault(Call::Write, EIO);
  sender.send(object);
  EXPECT_EQ(log.lines(), std::vector<LogLine>{kFailedSend});
  EXPECT_EQ(KelpTest::objectTypeOf(object), 10);
}

TEST(ExecObjectEventSenderTest, SendWithoutAReaderIsLogged) {
  signal(SIGPIPE, SIG_IGN);
  Pipe pipe;
  ExecObjectEventSender sender(pipe.takeWriteEnd());
  pipe.closeReadEnd();
  ExecObjectDoNothing object;
  const LogCapture log;
  sender.send(object);
  EXPECT_EQ(log.lines(), std::vector<LogLine>{kFailedSend});
}

TEST(ExecObjectEventSenderTest, SendGoesOnAfterAnInterruption) {
  Pipe pipe;
  ExecObjectEventSender sender(pipe.takeWriteEnd());
  ExecObjectDoNothing object;
  const LogCapture log;
  const CallFault fault(Call::Write, EINTR);
  sender.send(object);
  EXPECT_TRUE(log.errors().empty());
  ExecObject* message = nullptr;
  EXPECT_EQ(read(pipe.readEnd(), &message, sizeof(message)), static_cast<ssize_t>(sizeof(message)));
  EXPECT_EQ(message, &object);
}

}  // namespace
