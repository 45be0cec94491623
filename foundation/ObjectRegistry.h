// The live objects of the process, newest first, with an index that finds one in constant time.
//
// The registry is built on first use and never destroyed: objects that a host's static constructors build, or its
// static destructors destroy, find it there.
#ifndef KELP_FOUNDATION_OBJECT_REGISTRY_H
#define KELP_FOUNDATION_OBJECT_REGISTRY_H

#include <stddef.h>

#include <list>
#include <memory>

#include "KelpObject.h"
#include "Mutex.h"

namespace Kelp {

// Threads: every operation can be called on any thread.
class ObjectRegistry {
 public:
  static ObjectRegistry& getInstance();

  void add(KelpObject& object);
  void remove(const KelpObject& object);

  // Stores the live object's type number. Returns false when no object lives at `object`. Logs nothing.
  bool find(const KelpObject* object, KelpObject::ObjectType& type);
  bool contains(const KelpObject* object);

 private:
  using ObjectList = std::list<KelpObject*>;

  // A slot of the index, an open-addressed hash table; a null key marks an empty slot.
  struct Slot {
    const KelpObject* key;
    ObjectList::iterator position;
  };

  ObjectRegistry();

  size_t homeOf(const KelpObject* object) const;
  size_t slotOf(const KelpObject* object) const;
  void index(const Slot& entry);
  void unindex(size_t slot);
  void growIndex();

  Mutex m_mutex;  // guards all below
  ObjectList m_objects;
  ObjectList m_spareNodes;  // nodes of former entries: most objects live briefly, and the allocator is slower than this
  std::unique_ptr<Slot[]> m_slots;
  size_t m_slotMask;     // the number of slots, a power of two, less one
  unsigned m_slotShift;  // how far a 32-bit hash is shifted down to a slot number
};

}  // namespace Kelp

#endif  // KELP_FOUNDATION_OBJECT_REGISTRY_H
