// The base of nearly every class of Kelp: each object is in a process-wide registry from its construction to its
// destruction, so that code holding a bare pointer, such as one that came through a pipe, can ask whether the object
// still lives.
//
// Threads: objects may be built, copied and destroyed, and isObjectExist() called, on any thread; a lock of the
// registry's own serialises them. The answer holds for the moment of the call: who acts on it must know by other means
// that the object is not being destroyed elsewhere.
#ifndef KELP_FOUNDATION_KELP_OBJECT_H
#define KELP_FOUNDATION_KELP_OBJECT_H

#include <atomic>

#include "KelpExport.h"

namespace Kelp {

class KELP_EXPORT KelpObject {
 public:
  // Each concrete class's number, for the registry's log lines. 21, 33 and 34 stay unused.
  enum ObjectType : int {
    ObjectType_None = 0,
    ObjectType_Base64EncDec = 1,
    ObjectType_BinaryParser = 2,
    ObjectType_BinarySerializer = 3,
    ObjectType_CyclicTimerByMinutesEventReceiver = 4,
    ObjectType_CyclicTimerEventReceiver = 5,
    ObjectType_EventLooperMultiWait = 6,
    ObjectType_EventLooperSingleWait = 7,
    ObjectType_EventPoller = 8,
    ObjectType_EventReceiverNullObject = 9,
    ObjectType_ExecObjectDoNothing = 10,
    ObjectType_ExecObjectEventReceiver = 11,
    ObjectType_ExecObjectEventSender = 12,
    ObjectType_ExecObjectPthreadExit = 13,
    ObjectType_ExecObjectRequestToWorkerThread = 14,
    ObjectType_ExecObjectReturnFromWorkerThread = 15,
    ObjectType_FdOperator = 16,
    ObjectType_FileOperator = 17,
    ObjectType_IpcAddressApi = 18,
    ObjectType_IpcAddressApp = 19,
    ObjectType_IpcAddressCore = 20,
    ObjectType_IpcEventReceiver = 22,
    ObjectType_OneWayRequestDispatcher = 23,
    ObjectType_RequestDispatcher = 24,
    ObjectType_ResponseDispatcher = 25,
    ObjectType_IpcEventSender = 26,
    ObjectType_IpcReceiver = 27,
    ObjectType_IpcSender = 28,
    ObjectType_JsonSerializer = 29,
    ObjectType_MultiPartParser = 30,
    ObjectType_QueryStringParser = 31,
    ObjectType_RequestDecoder = 32,
    ObjectType_ResponseEncoder = 35,
    ObjectType_ResponseEncoderForBinary = 36,
    ObjectType_ResponseFaultEncoder = 37,
    ObjectType_ResponseFaultEncoderForBinary = 38,
    ObjectType_TimerService = 39,
    ObjectType_WorkerThread = 40,
    ObjectType_WorkerThreadService = 41,
  };

  // Enters the registry.
  KelpObject();
  KelpObject(const KelpObject& other);  // a copy is an object of its own: it enters the registry too

  // Changes nothing: place in the registry and type number are the object's own.
  KelpObject& operator=(const KelpObject& other);

  // Leaves the registry.
  virtual ~KelpObject();

  // Whether an object lives at `object`, which may be null or dangling: it is only compared. Logs the answer at the
  // trace level. Takes the same time however many objects live.
  static bool isObjectExist(const KelpObject* object);

 protected:
  // Called once by each concrete class's constructor.
  void setObjectType(ObjectType type);

 private:
  friend class ObjectRegistry;

  // Atomic: whoever asks about a dangling pointer reads it while another thread builds an object at that very address.
  std::atomic<ObjectType> m_objectType;
};

}  // namespace Kelp

#endif  // KELP_FOUNDATION_KELP_OBJECT_H
