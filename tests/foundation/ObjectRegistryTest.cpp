#include <gtest/gtest.h>

#include <memory>
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
    const Typed* former = objects[gone].get();
    objects[gone].reset();
    wrongAnswers += ObjectRegistry::getInstance().contains(former) ? 1U : 0U;
    for (size_t i = gone + 1; i < objects.size(); i += 37) {
      wrongAnswers += ObjectRegistry::getInstance().contains(objects[i].get()) ? 0U : 1U;
    }
  }
  EXPECT_EQ(wrongAnswers, 0U);
}

}  // namespace
