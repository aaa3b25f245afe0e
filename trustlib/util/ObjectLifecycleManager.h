#ifndef TRUSTLIB_UTIL_OBJECT_LIFECYCLE_MANAGER_H
#define TRUSTLIB_UTIL_OBJECT_LIFECYCLE_MANAGER_H

#include <list>
#include <string>

#include "trustlib/Export.h"
#include "trustlib/Object.h"
#include "trustlib/Throws.h"
#include "trustlib/util/TrustManagerException.h"

// One thing the cleanup guard looks after. The name is spelt as it is on purpose.
class TRUSTLIB_EXPORT ObjectLifecyleElement {
 public:
  // `release` frees `item`; `returnItem` marks what the caller gets after a success.
  ObjectLifecyleElement(void* item, void (*release)(void*), bool returnItem)
      TRUSTLIB_THROWS(TrustManagerException);

  // Releases nothing: only cleanUp does.
  virtual ~ObjectLifecyleElement();

  ObjectLifecyleElement(const ObjectLifecyleElement&) = default;
  ObjectLifecyleElement& operator=(const ObjectLifecyleElement&) = default;

  // Releases the item once, unless it is NULL or now belongs to the caller.
  virtual void cleanUp(bool successful) TRUSTLIB_THROWS(TrustManagerException);

 private:
  void* item;
  void (*release)(void*);
  bool returnItem;
};

// The cleanup guard of a function that allocates several things. Everything registered is
// released when the guard ends; after successfulReturn() the "return" items are left to the
// caller. NULL is welcome everywhere.
class TRUSTLIB_EXPORT ObjectLifecycleManager {
 public:
  ObjectLifecycleManager() TRUSTLIB_THROWS(TrustManagerException);

  // Releases in the order of registration. Never lets an exception out.
  virtual ~ObjectLifecycleManager();

  ObjectLifecycleManager(const ObjectLifecycleManager&) = delete;
  ObjectLifecycleManager& operator=(const ObjectLifecycleManager&) = delete;

  void addObject(Object* object) TRUSTLIB_THROWS(TrustManagerException);
  void addReturnObject(Object* object) TRUSTLIB_THROWS(TrustManagerException);
  void addString(std::string* text) TRUSTLIB_THROWS(TrustManagerException);
  void addReturnString(std::string* text) TRUSTLIB_THROWS(TrustManagerException);
  void addList(std::list<std::string>* list) TRUSTLIB_THROWS(TrustManagerException);
  void addReturnList(std::list<std::string>* list) TRUSTLIB_THROWS(TrustManagerException);

  // A block from malloc. There is no return form of it.
  void addBuffer(void* buffer) TRUSTLIB_THROWS(TrustManagerException);

  // The last step of a function that is about to return its results.
  void successfulReturn() TRUSTLIB_THROWS(TrustManagerException);

 private:
  std::list<ObjectLifecyleElement> elements;
  bool successful;
};

#endif
