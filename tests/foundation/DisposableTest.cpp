#include <gtest/gtest.h>

#include <type_traits>

#include "Disposable.h"
#include "KelpObject.h"

namespace {

using Kelp::Disposable;

class Resource : public Disposable {
 public:
  explicit Resource(bool& isDestroyed) : m_isDestroyed(isDestroyed) {}
  ~Resource() override { m_isDestroyed = true; }

 private:
  bool& m_isDestroyed;
};

TEST(DisposableTest, DeletesTheWholeObjectThroughTheInterface) {
  bool isDestroyed = false;
  Disposable* disposable = new Resource(isDestroyed);
  delete disposable;
  EXPECT_TRUE(isDestroyed);
}

TEST(DisposableTest, HasNoFields) {
  EXPECT_EQ(sizeof(Disposable), sizeof(void*));
}

TEST(DisposableTest, IsNoRegisteredObject) {
  EXPECT_FALSE((std::is_base_of_v<Kelp::KelpObject, Disposable>));
}

}  // namespace
