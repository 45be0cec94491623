// What a receiver has allocated for the message that it is dispatching: the payload, and the address of its source. An
// assertion that is caught leaves both behind.
#ifndef KELP_FUZZ_IN_FLIGHT_H
#define KELP_FUZZ_IN_FLIGHT_H

namespace KelpFuzz {

// One at a time. Takes note of the last allocation of each kind while it lives.
class InFlight {
 public:
  InFlight();
  ~InFlight();
  InFlight(const InFlight&) = delete;
  InFlight& operator=(const InFlight&) = delete;

  // To be called after an assertion, and only then: the two are the receiver's otherwise.
  void release();
};

}  // namespace KelpFuzz

#endif  // KELP_FUZZ_IN_FLIGHT_H
