// The input is what a receiver is made for, what other processes write into its FIFO, and when its sessions' time is
// up:
//   a byte     which handlers there are: bits 0 to 2 for the requests, bits 3 to 5 for the one-way requests of
//              applications, API clients and the core. Bit 6: the handlers of responses die before the receiver does.
//              Bit 7: a handler of requests does something
//   a byte n   n modulo 8 is the number of sessions that await a response. Bit 6: the FIFO is there before. Bit 7:
//              sessions are written out
//   text       where the FIFO is there before: what an earlier owner has left in it (Input::text())
//   a byte     where handlers of requests do something: in bits 5 to 7 what, in bits 0 to 4 at which request
//   sessions   a word each or, written out, a word and a byte for its form: bits 0 and 1 say which handler waits; bits
//   2
//              and 3 are 1 for a time-out of a byte + 1 ms, 2 for that of a word; bits 4 to 7, modulo 7, say what the
//              handler does when it is told (Conversation::Deed)
//   the rest   bytes with, in their lowest three bits,
//              4  a byte: as many milliseconds pass; from 250 on, all time
//              5  a byte: from 128 on, a further session, written out, begins; else one of the handlers dies
//              6  the loop runs until nothing is left to do, as it also does after some messages, and at the end
//              and else a message: this byte is its form (takeMessage()), behind it are the words of the header, and
//              the payload (Input::text())
// Every message is written whole. The first that breaks the protocol ends the process on its assertion: with it the
// input is over, as it is with a handler that ends the loop or disposes of the receiver.
#include <stddef.h>
#include <stdint.h>

#include "TimerService.h"
#include "fuzz/ipc-stream/Clock.h"
#include "fuzz/ipc-stream/Conversation.h"
#include "fuzz/support/Check.h"
#include "fuzz/support/Input.h"
#include "fuzz/support/Platform.h"

namespace {

bool createTimerService() {
  Kelp::TimerService::createInstance();
  return true;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static const bool s_hasTimerService = createTimerService();
  static_cast<void>(s_hasTimerService);
  const KelpFuzz::Residue residue;
  KelpFuzz::Clock::reset();
  KelpFuzz::Input input(data, size);
  KelpFuzz::Conversation(input).run();
  FUZZ_CHECK(KelpFuzz::Clock::isWithoutTimers());
  return 0;
}
