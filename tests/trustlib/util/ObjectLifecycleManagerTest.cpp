#include "trustlib/util/ObjectLifecycleManager.h"

#include <cstdlib>
#include <list>
#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace {

std::vector<int> released;

class Numbered : public Object {
 public:
  explicit Numbered(int number) : number(number) {}
  ~Numbered() override { released.push_back(number); }

 private:
  int number;
};

TEST(ObjectLifecycleManager, WithoutSuccessReturnItemsAreReleasedToo) {
  released.clear();
  {
    ObjectLifecycleManager guard;
    guard.addReturnObject(new Numbered(1));
    guard.addObject(new Numbered(2));
    guard.addReturnString(new std::string("freed"));
    guard.addReturnList(new std::list<std::string>{"freed"});
    guard.addString(new std::string("freed"));
    guard.addList(new std::list<std::string>{"freed"});
    guard.addBuffer(malloc(10));
  }
  EXPECT_EQ((std::vector<int>{1, 2}), released) << "in the order of registration";
}

TEST(ObjectLifecycleManager, AfterSuccessOnlyTemporariesAreReleased) {
  released.clear();
  auto* object = new Numbered(1);
  auto* text = new std::string("kept");
  auto* list = new std::list<std::string>{"kept"};
  {
    ObjectLifecycleManager guard;
    guard.addReturnObject(object);
    guard.addReturnString(text);
    guard.addReturnList(list);
    guard.addObject(new Numbered(2));
    guard.addString(new std::string("freed"));
    guard.addList(new std::list<std::string>{"freed"});
    guard.addBuffer(malloc(10));
    guard.successfulReturn();
  }
  EXPECT_EQ((std::vector<int>{2}), released);
  EXPECT_EQ("kept", *text);
  EXPECT_EQ("kept", list->front());
  delete object;
  delete text;
  delete list;
}

TEST(ObjectLifecycleManager, NullItemsAreSkipped) {
  for (const bool successful : {false, true}) {
    ObjectLifecycleManager guard;
    guard.addObject(nullptr);
    guard.addReturnObject(nullptr);
    guard.addString(nullptr);
    guard.addReturnString(nullptr);
    guard.addList(nullptr);
    guard.addReturnList(nullptr);
    guard.addBuffer(nullptr);
    if (successful) {
      guard.successfulReturn();
    }
  }
}

TEST(ObjectLifecycleManager, ExceptionThatLeavesReleasesEverything) {
  released.clear();
  try {
    ObjectLifecycleManager guard;
    guard.addReturnObject(new Numbered(1));
    throw TrustManagerException("on the way");
  } catch (const TrustManagerException&) {
    EXPECT_EQ((std::vector<int>{1}), released);
  }
}

TEST(ObjectLifecyleElement, ReleasesOnce) {
  int count = 0;
  ObjectLifecyleElement element(
      &count, [](void* item) { ++*static_cast<int*>(item); }, true);
  element.cleanUp(false);
  element.cleanUp(false);
  EXPECT_EQ(1, count);
}

TEST(ObjectLifecyleElement, LeavesAReturnItemToTheCallerAfterSuccess) {
  int count = 0;
  ObjectLifecyleElement element(
      &count, [](void* item) { ++*static_cast<int*>(item); }, true);
  element.cleanUp(true);
  EXPECT_EQ(0, count);
}

TEST(ObjectLifecyleElement, DestructionReleasesNothing) {
  int count = 0;
  {
    const ObjectLifecyleElement element(
        &count, [](void* item) { ++*static_cast<int*>(item); }, false);
  }
  EXPECT_EQ(0, count);
}

}  // namespace
