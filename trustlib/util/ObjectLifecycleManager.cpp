#include "trustlib/util/ObjectLifecycleManager.h"

#include <cstdlib>

namespace {

void deleteObject(void* item) {
  delete static_cast<Object*>(item);
}

void deleteString(void* item) {
  delete static_cast<std::string*>(item);
}

void deleteList(void* item) {
  delete static_cast<std::list<std::string>*>(item);
}

}  // namespace

ObjectLifecyleElement::ObjectLifecyleElement(void* item, void (*release)(void*), bool returnItem)
    TRUSTLIB_THROWS(TrustManagerException)
    : item(item), release(release), returnItem(returnItem) {}

ObjectLifecyleElement::~ObjectLifecyleElement() = default;

void ObjectLifecyleElement::cleanUp(bool successful) TRUSTLIB_THROWS(TrustManagerException) {
  if (item == nullptr || (successful && returnItem)) {
    return;
  }
  release(item);
  item = nullptr;
}

ObjectLifecycleManager::ObjectLifecycleManager() TRUSTLIB_THROWS(TrustManagerException)
    : successful(false) {}

ObjectLifecycleManager::~ObjectLifecycleManager() {
  for (ObjectLifecyleElement& element : elements) {
    try {
      element.cleanUp(successful);
    } catch (const TrustManagerException&) {
      // The guard often ends because of another exception, which must not be replaced; the
      // remaining items still have to go.
      continue;
    }
  }
}

void ObjectLifecycleManager::addObject(Object* object) TRUSTLIB_THROWS(TrustManagerException) {
  elements.push_back(ObjectLifecyleElement(object, deleteObject, false));
}

void ObjectLifecycleManager::addReturnObject(Object* object)
    TRUSTLIB_THROWS(TrustManagerException) {
  elements.push_back(ObjectLifecyleElement(object, deleteObject, true));
}

void ObjectLifecycleManager::addString(std::string* text) TRUSTLIB_THROWS(TrustManagerException) {
  elements.push_back(ObjectLifecyleElement(text, deleteString, false));
}

void ObjectLifecycleManager::addReturnString(std::string* text)
    TRUSTLIB_THROWS(TrustManagerException) {
  elements.push_back(ObjectLifecyleElement(text, deleteString, true));
}

void ObjectLifecycleManager::addList(std::list<std::string>* list)
    TRUSTLIB_THROWS(TrustManagerException) {
  elements.push_back(ObjectLifecyleElement(list, deleteList, false));
}

void ObjectLifecycleManager::addReturnList(std::list<std::string>* list)
    TRUSTLIB_THROWS(TrustManagerException) {
  elements.push_back(ObjectLifecyleElement(list, deleteList, true));
}

void ObjectLifecycleManager::addBuffer(void* buffer) TRUSTLIB_THROWS(TrustManagerException) {
  elements.push_back(ObjectLifecyleElement(buffer, free, false));
}

void ObjectLifecycleManager::successfulReturn() TRUSTLIB_THROWS(TrustManagerException) {
  successful = true;
}
