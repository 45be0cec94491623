#include <gtest/gtest.h>

#include <memory>

#include "ExecObject.h"
#include "support/LoopActors.h"
#include "support/ObjectType.h"

namespace {

using Kelp::ExecObject;
using KelpTest::FunctionExecObject;

TEST(ExecObjectTest, SetsNoObjectTypeOfItsOwn) {
  EXPECT_EQ(KelpTest::objectTypeOf(FunctionExecObject({})), 0);
}

TEST(ExecObjectTest, IsExecutedAndDeletedThroughItsBase) {
  int executed = 0;
  int destroyed = 0;
  std::unique_ptr<ExecObject> object = std::make_unique<FunctionExecObject>([&] { executed++; }, [&] { destroyed++; });
  object->doExecute();
  EXPECT_EQ(executed, 1);
  object.reset();
  EXPECT_EQ(destroyed, 1);
}

}  // namespace
