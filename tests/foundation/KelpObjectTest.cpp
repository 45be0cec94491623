#include <gtest/gtest.h>
#include <stdint.h>
#include <stdio.h>
#include <string.h>

#include <atomic>
#include <memory>
#include <new>
#include <string>
#include <thread>
#include <type_traits>
#include <vector>

#include "KelpObject.h"
#include "support/LogCapture.h"

namespace {

using Kelp::KelpObject;
using KelpTest::LogCapture;
using KelpTest::traceLine;

class Plain : public KelpObject {};

class Typed : public KelpObject {
 public:
  explicit Typed(ObjectType type) { setObjectType(type); }
  std::unique_ptr<Typed> clone() const { return std::make_unique<Typed>(*this); }
};

class TypedAgain : public Typed {
 public:
  TypedAgain() : Typed(ObjectType_IpcSender) { setObjectType(ObjectType_WorkerThreadService); }
};

// A pointer that stays after its object, as one in a pipe may. The compiler, which warns of such, does not follow it.
const KelpObject* addressToKeep(const KelpObject* object) {
  const volatile auto address = reinterpret_cast<uintptr_t>(object);
  return reinterpret_cast<const KelpObject*>(address);
}

std::string existLine(const KelpObject* object, int type) {
  char text[100];
  snprintf(text, sizeof(text), "This object (%p) Exist! (ObjectType=%d)\n", static_cast<const void*>(object), type);
  return text;
}

std::string noExistLine(const KelpObject* object) {
  char text[100];
  snprintf(text, sizeof(text), "This object (%p) does NOT Exist.\n", static_cast<const void*>(object));
  return text;
}

void expectExists(const KelpObject* object, int type) {
  LogCapture log;
  EXPECT_TRUE(KelpObject::isObjectExist(object));
  ASSERT_EQ(log.lines().size(), 1U);
  EXPECT_EQ(log.lines()[0], traceLine("KelpObject.cpp", 82, "isObjectExist", existLine(object, type)));
}

void expectDoesNotExist(const KelpObject* object) {
  LogCapture log;
  EXPECT_FALSE(KelpObject::isObjectExist(object));
  ASSERT_EQ(log.lines().size(), 1U);
  EXPECT_EQ(log.lines()[0], traceLine("KelpObject.cpp", 86, "isObjectExist", noExistLine(object)));
}

TEST(KelpObjectTest, ObjectIsRegisteredWhileItLives) {
  auto object = std::make_unique<Plain>();
  expectExists(object.get(), 0);
}

TEST(KelpObjectTest, DestroyedObjectIsNotRegistered) {
  auto object = std::make_unique<Plain>();
  const KelpObject* former = addressToKeep(object.get());
  object.reset();
  expectDoesNotExist(former);
}

TEST(KelpObjectTest, DestroyingOneObjectLeavesTheOthersRegistered) {
  const Plain older;
  auto object = std::make_unique<Plain>();
  const Plain newer;
  object.reset();
  expectExists(&older, 0);
  expectExists(&newer, 0);
}

TEST(KelpObjectTest, NullDoesNotExist) {
  expectDoesNotExist(nullptr);
}

TEST(KelpObjectTest, PointerThatWasNeverAnObjectIsOnlyCompared) {
  const auto* wild = reinterpret_cast<const KelpObject*>(uintptr_t{0x10});
  expectDoesNotExist(wild);
}

TEST(KelpObjectTest, ConcreteClassSetsItsType) {
  const Typed object(KelpObject::ObjectType_EventPoller);
  expectExists(&object, 8);
}

TEST(KelpObjectTest, MostDerivedClassSetsTheFinalType) {
  const TypedAgain object;
  expectExists(&object, 41);
}

TEST(KelpObjectTest, CopyIsRegisteredForItself) {
  auto original = std::make_unique<Typed>(KelpObject::ObjectType_IpcAddressApp);
  const Typed copy(*original);  // the copy is what is tested
  const KelpObject* former = addressToKeep(original.get());
  expectExists(former, 19);
  expectExists(&copy, 19);
  original.reset();
  expectDoesNotExist(former);
  expectExists(&copy, 19);
}

TEST(KelpObjectTest, DestroyingACopyLeavesTheOriginalRegistered) {
  const Typed original(KelpObject::ObjectType_IpcAddressApp);
  auto copy = std::make_unique<Typed>(original);
  const KelpObject* former = addressToKeep(copy.get());
  copy.reset();
  expectDoesNotExist(former);
  expectExists(&original, 19);
}

TEST(KelpObjectTest, CloneIsRegisteredForItself) {
  const Typed original(KelpObject::ObjectType_IpcAddressApi);
  const std::unique_ptr<Typed> clone = original.clone();
  expectExists(clone.get(), 18);
}

TEST(KelpObjectTest, MovedFromObjectStaysRegistered) {
  Typed source(KelpObject::ObjectType_IpcAddressApi);
  const Typed target(std::move(source));
  expectExists(&source, 18);  // its registration is what is tested
  expectExists(&target, 18);
}

TEST(KelpObjectTest, ElementsOfAGrowingVectorAreRegisteredWhereTheyLive) {
  std::vector<Typed> objects;
  for (int i = 0; i < 100; ++i) {
    objects.emplace_back(KelpObject::ObjectType_IpcAddressApi);
  }
  for (const Typed& object : objects) {
    EXPECT_TRUE(KelpObject::isObjectExist(&object));
  }
  const KelpObject* former = addressToKeep(objects.data());
  objects.clear();
  EXPECT_FALSE(KelpObject::isObjectExist(former));
}

TEST(KelpObjectTest, AssignmentLeavesRegistrationAndTypeNumberAsTheyAre) {
  const Typed source(KelpObject::ObjectType_IpcAddressApi);
  Typed target(KelpObject::ObjectType_IpcAddressApp);
  target = source;
  expectExists(&source, 18);
  expectExists(&target, 19);
}

// Whoever builds an object on top of one that was never destroyed, as a crashed part of a pool may, leaves one address
// in the list twice: a destruction removes both, and no later growth of the registry brings one back.
TEST(KelpObjectTest, DestructionRemovesEveryEntryOfTheAddress) {
  alignas(Plain) unsigned char storage[sizeof(Plain)];
  new (storage) Plain;
  Plain* object = new (storage) Plain;
  object->~Plain();
  expectDoesNotExist(object);
  memset(storage, 0, sizeof(storage));
  {
    const std::vector<Plain> crowd(5000);
    expectDoesNotExist(object);
  }
  object = new (storage) Plain;
  expectExists(object, 0);
  object->~Plain();
  expectDoesNotExist(object);
}

TEST(KelpObjectTest, RegistersAHundredThousandObjects) {
  std::vector<std::unique_ptr<Plain>> objects(100000);
  for (auto& object : objects) {
    object = std::make_unique<Plain>();
  }
  size_t unknown = 0;
  for (const auto& object : objects) {
    unknown += KelpObject::isObjectExist(object.get()) ? 0U : 1U;
  }
  EXPECT_EQ(unknown, 0U);
}

// Every other one goes, from both ends to the middle, so that neither the order of building nor its reverse is kept.
TEST(KelpObjectTest, ForgetsExactlyTheDestroyedOfAHundredThousandObjects) {
  constexpr size_t kCount = 100000;
  std::vector<std::unique_ptr<Plain>> objects(kCount);
  std::vector<const KelpObject*> addresses(kCount);
  for (size_t i = 0; i < kCount; ++i) {
    objects[i] = std::make_unique<Plain>();
    addresses[i] = addressToKeep(objects[i].get());
  }
  for (size_t i = 0; i < kCount / 2; i += 2) {
    objects[i].reset();
    objects[kCount - 2 - i].reset();
  }
  size_t wrongAnswers = 0;
  for (size_t i = 0; i < kCount; ++i) {
    wrongAnswers += KelpObject::isObjectExist(addresses[i]) == (objects[i] != nullptr) ? 0U : 1U;
  }
  EXPECT_EQ(wrongAnswers, 0U);
}

TEST(KelpObjectTest, RegistersObjectsThatSeveralThreadsBuildAtOnce) {
  constexpr size_t kThreads = 4;
  constexpr size_t kObjects = 5000;
  std::vector<std::unique_ptr<Plain>> objects(kThreads * kObjects);
  std::thread threads[kThreads];
  for (size_t t = 0; t < kThreads; ++t) {
    threads[t] = std::thread([&objects, t] {
      for (size_t i = t * kObjects; i < (t + 1) * kObjects; ++i) {
        objects[i] = std::make_unique<Plain>();
      }
    });
  }
  for (std::thread& thread : threads) {
    thread.join();
  }
  size_t unknown = 0;
  for (const auto& object : objects) {
    unknown += KelpObject::isObjectExist(object.get()) ? 0U : 1U;
  }
  EXPECT_EQ(unknown, 0U);
}

TEST(KelpObjectTest, AnswersRightWhileOtherThreadsBuildAndDestroy) {
  const Plain steady;
  std::thread threads[4];
  for (std::thread& thread : threads) {
    thread = std::thread([] {
      for (int i = 0; i < 2000; ++i) {
        const Plain built;
        const Plain copy(built);  // the copy registers too
        EXPECT_TRUE(KelpObject::isObjectExist(&built));
        EXPECT_TRUE(KelpObject::isObjectExist(&copy));
      }
    });
  }
  unsigned wrongAnswers = 0;
  for (int i = 0; i < 5000; ++i) {
    wrongAnswers += KelpObject::isObjectExist(&steady) ? 0U : 1U;
  }
  for (std::thread& thread : threads) {
    thread.join();
  }
  EXPECT_EQ(wrongAnswers, 0U);
}

// A dangling pointer may be asked about, and another thread may build the next object just there.
TEST(KelpObjectTest, AnswersAboutAnAddressWhereAnotherThreadBuilds) {
  alignas(Typed) unsigned char storage[sizeof(Typed)];
  const auto* address = reinterpret_cast<const KelpObject*>(storage);
  std::atomic<bool> isAsking{true};
  std::thread builder([&] {
    while (isAsking) {
      auto* object = new (storage) Typed(KelpObject::ObjectType_FdOperator);
      object->~Typed();
    }
  });
  const std::string unset = existLine(address, 0);
  const std::string set = existLine(address, 16);
  int found = 0;
  while (found < 100) {
    const LogCapture log;
    if (KelpObject::isObjectExist(address)) {
      found++;
      const std::string message = log.lines().at(0).message;
      EXPECT_TRUE(message == unset || message == set) << message;
    }
  }
  isAsking = false;
  builder.join();
}

TEST(KelpObjectTest, HoldsTheVirtualTablePointerThenTheType) {
  EXPECT_TRUE(std::has_virtual_destructor_v<KelpObject>);
  EXPECT_EQ(sizeof(KelpObject::ObjectType), 4U);
  EXPECT_EQ(sizeof(KelpObject), 2 * sizeof(void*));
  const Typed object(KelpObject::ObjectType_WorkerThread);
  int32_t type = 0;
  memcpy(&type, reinterpret_cast<const unsigned char*>(static_cast<const KelpObject*>(&object)) + sizeof(void*),
         sizeof(type));
  EXPECT_EQ(type, 40);
}

TEST(KelpObjectTest, EveryClassKeepsItsTypeNumber) {
  const std::vector<std::pair<KelpObject::ObjectType, int>> expected = {
      {KelpObject::ObjectType_None, 0},
      {KelpObject::ObjectType_Base64EncDec, 1},
      {KelpObject::ObjectType_BinaryParser, 2},
      {KelpObject::ObjectType_BinarySerializer, 3},
      {KelpObject::ObjectType_CyclicTimerByMinutesEventReceiver, 4},
      {KelpObject::ObjectType_CyclicTimerEventReceiver, 5},
      {KelpObject::ObjectType_EventLooperMultiWait, 6},
      {KelpObject::ObjectType_EventLooperSingleWait, 7},
      {KelpObject::ObjectType_EventPoller, 8},
      {KelpObject::ObjectType_EventReceiverNullObject, 9},
      {KelpObject::ObjectType_ExecObjectDoNothing, 10},
      {KelpObject::ObjectType_ExecObjectEventReceiver, 11},
      {KelpObject::ObjectType_ExecObjectEventSender, 12},
      {KelpObject::ObjectType_ExecObjectPthreadExit, 13},
      {KelpObject::ObjectType_ExecObjectRequestToWorkerThread, 14},
      {KelpObject::ObjectType_ExecObjectReturnFromWorkerThread, 15},
      {KelpObject::ObjectType_FdOperator, 16},
      {KelpObject::ObjectType_FileOperator, 17},
      {KelpObject::ObjectType_IpcAddressApi, 18},
      {KelpObject::ObjectType_IpcAddressApp, 19},
      {KelpObject::ObjectType_IpcAddressCore, 20},
      {KelpObject::ObjectType_IpcEventReceiver, 22},
      {KelpObject::ObjectType_OneWayRequestDispatcher, 23},
      {KelpObject::ObjectType_RequestDispatcher, 24},
      {KelpObject::ObjectType_ResponseDispatcher, 25},
      {KelpObject::ObjectType_IpcEventSender, 26},
      {KelpObject::ObjectType_IpcReceiver, 27},
      {KelpObject::ObjectType_IpcSender, 28},
      {KelpObject::ObjectType_JsonSerializer, 29},
      {KelpObject::ObjectType_MultiPartParser, 30},
      {KelpObject::ObjectType_QueryStringParser, 31},
      {KelpObject::ObjectType_RequestDecoder, 32},
      {KelpObject::ObjectType_ResponseEncoder, 35},
      {KelpObject::ObjectType_ResponseEncoderForBinary, 36},
      {KelpObject::ObjectType_ResponseFaultEncoder, 37},
      {KelpObject::ObjectType_ResponseFaultEncoderForBinary, 38},
      {KelpObject::ObjectType_TimerService, 39},
      {KelpObject::ObjectType_WorkerThread, 40},
      {KelpObject::ObjectType_WorkerThreadService, 41},
  };
  for (const auto& [type, number] : expected) {
    const Typed object(type);
    expectExists(&object, number);
  }
}

}  // namespace
