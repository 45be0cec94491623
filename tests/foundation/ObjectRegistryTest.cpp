#include <gtest/gtest.h>
#include <stdint.h>

#include <algorithm>
#include <memory>
#include <random>
#include <thread>
#include <vector>

#include "foundation/ObjectRegistry.h"
#include "support/LogCapture.h"

namespace {

using Kelp::KelpObject;
using Kelp::ObjectRegistry;
using KelpTest::LogCapture;

class Typed : public KelpObject {
 public:
  Typed() { setObjectType(ObjectType_FdOperator); }
};

TEST(ObjectRegistryTest, FindsALiveObjectWithItsType) {
  const Typed object;
  KelpObject::ObjectType type = KelpObject::ObjectType_None;
  EXPECT_TRUE(ObjectRegistry::getInstance().find(&object, type));
  EXPECT_EQ(type, KelpObject::ObjectType_FdOperator);
  EXPECT_TRUE(ObjectRegistry::getInstance().contains(&object));
}

TEST(ObjectRegistryTest, DoesNotFindWhatIsNoLiveObject) {
  KelpObject::ObjectType type = KelpObject::ObjectType_FdOperator;
  const auto* stranger = reinterpret_cast<const KelpObject*>(&type);
  EXPECT_FALSE(ObjectRegistry::getInstance().find(stranger, type));
  EXPECT_FALSE(ObjectRegistry::getInstance().find(nullptr, type));
  EXPECT_EQ(type, KelpObject::ObjectType_FdOperator);
  EXPECT_FALSE(ObjectRegistry::getInstance().contains(stranger));
  EXPECT_FALSE(ObjectRegistry::getInstance().contains(nullptr));
}

TEST(ObjectRegistryTest, AnswersWithoutALogLine) {
  const Typed object;
  LogCapture log;
  ObjectRegistry::getInstance().contains(&object);
  ObjectRegistry::getInstance().contains(nullptr);
  EXPECT_TRUE(log.lines().empty());
}

TEST(ObjectRegistryTest, KeepsEveryOtherObjectWhenOneLeaves) {
  std::vector<std::unique_ptr<Typed>> objects(1000);
  for (auto& object : objects) {
    object = std::make_unique<Typed>();
  }
  size_t wrongAnswers = 0;
  for (size_t gone = 0; gone < objects.size(); ++gone) {
    const volatile auto address = reinterpret_cast<uintptr_t>(objects[gone].get());
    objects[gone].reset();
    wrongAnswers += ObjectRegistry::getInstance().contains(reinterpret_cast<const KelpObject*>(address)) ? 1U : 0U;
    for (size_t i = gone + 1; i < objects.size(); i += 37) {
      wrongAnswers += ObjectRegistry::getInstance().contains(objects[i].get()) ? 0U : 1U;
    }
  }
  EXPECT_EQ(wrongAnswers, 0U);
}

// Places side by side, a block of the hash apart and a page apart.
TEST(ObjectRegistryTest, KnowsExactlyTheLivingObjectsWhileTheyComeAndGo) {
  constexpr size_t kPlaces = 2000;
  std::mt19937 random(20240229);
  size_t wrongAnswers = 0;
  for (const size_t stride : {sizeof(KelpObject), size_t{512}, size_t{4096}}) {
    const auto memory = std::make_unique<unsigned char[]>(kPlaces * stride);
    std::vector<KelpObject*> objects(kPlaces, nullptr);
    for (int step = 0; step < 20000; ++step) {
      const size_t place = random() % kPlaces;
      if (objects[place] == nullptr) {
        objects[place] = new (memory.get() + place * stride) KelpObject;
      } else {
        objects[place]->~KelpObject();
        objects[place] = nullptr;
      }
    }
    for (size_t place = 0; place < kPlaces; ++place) {
      const auto* address = reinterpret_cast<const KelpObject*>(memory.get() + place * stride);
      wrongAnswers += ObjectRegistry::getInstance().contains(address) == (objects[place] != nullptr) ? 0U : 1U;
      if (objects[place] != nullptr) {
        objects[place]->~KelpObject();
      }
      wrongAnswers += ObjectRegistry::getInstance().contains(address) ? 1U : 0U;
    }
  }
  EXPECT_EQ(wrongAnswers, 0U);
}

// Side by side, a page apart, and as far apart as the stacks of threads are.
TEST(ObjectRegistryTest, ObjectsInStepSpreadOverTheBuckets) {
  constexpr uint32_t kHashShift = 22;
  constexpr uintptr_t kObjects = 200;
  for (const uintptr_t stride : {uintptr_t{32}, uintptr_t{512}, uintptr_t{4096}, uintptr_t{1} << 20, uintptr_t{1} << 23,
                                 (uintptr_t{1} << 23) + 4096}) {
    std::vector<int> objectsIn(1024, 0);
    for (uintptr_t i = 0; i < kObjects; ++i) {
      const auto* object = reinterpret_cast<const KelpObject*>(uintptr_t{0xb0012340} + i * stride);
      objectsIn.at(ObjectRegistry::bucketNumberOf(object, kHashShift))++;
    }
    EXPECT_LE(*std::max_element(objectsIn.begin(), objectsIn.end()), 8) << stride;
  }
}

TEST(ObjectRegistryTest, OneRemovalForgetsAnAddressThatWasEnteredTwice) {
  alignas(KelpObject) unsigned char memory[sizeof(KelpObject)];
  new (memory) KelpObject;
  auto* object = new (memory) KelpObject;
  object->~KelpObject();
  EXPECT_FALSE(ObjectRegistry::getInstance().contains(object));
}

TEST(ObjectRegistryTest, RemovingWhatIsNotThereChangesNothing) {
  const Typed object;
  const Typed neighbour;
  ObjectRegistry::getInstance().remove(object);
  ObjectRegistry::getInstance().remove(object);
  EXPECT_FALSE(ObjectRegistry::getInstance().contains(&object));
  EXPECT_TRUE(ObjectRegistry::getInstance().contains(&neighbour));
}

TEST(ObjectRegistryTest, ThreadsBuildDestroyAndAskAtOnce) {
  std::vector<std::thread> threads;
  for (int i = 0; i < 4; ++i) {
    threads.emplace_back([] {
      for (int round = 0; round < 20; ++round) {
        std::vector<std::unique_ptr<Typed>> objects(100);
        for (auto& object : objects) {
          object = std::make_unique<Typed>();
          EXPECT_TRUE(ObjectRegistry::getInstance().contains(object.get()));
        }
      }
    });
  }
  for (std::thread& thread : threads) {
    thread.join();
  }
}

}  // namespace
