#include "foundation/ObjectRegistry.h"

#include <stdint.h>

#include <new>
#include <utility>

namespace Kelp {

namespace {

constexpr unsigned kInitialSlotBits = 8;
constexpr size_t kMaxSpareNodes = 64;

}  // namespace

ObjectRegistry& ObjectRegistry::getInstance() {
  alignas(ObjectRegistry) static unsigned char storage[sizeof(ObjectRegistry)];
  static ObjectRegistry* const instance = new (storage) ObjectRegistry;
  return *instance;
}

ObjectRegistry::ObjectRegistry()
    : m_slots(new Slot[size_t{1} << kInitialSlotBits]()),
      m_slotMask((size_t{1} << kInitialSlotBits) - 1),
      m_slotShift(32 - kInitialSlotBits) {}

void ObjectRegistry::add(KelpObject& object) {
  Mutex::ScopedLock lock(m_mutex);
  // An address that an object left without its destructor stands for the new object, not for two.
  if (const Slot& known = m_slots[slotOf(&object)]; known.key != nullptr) {
    m_objects.splice(m_objects.begin(), m_objects, known.position);
    return;
  }
  if (2 * (m_objects.size() + 1) > m_slotMask) {
    growIndex();
  }
  if (m_spareNodes.empty()) {
    m_objects.push_front(&object);
  } else {
    m_objects.splice(m_objects.begin(), m_spareNodes, m_spareNodes.begin());
    m_objects.front() = &object;
  }
  index({&object, m_objects.begin()});
}

void ObjectRegistry::remove(const KelpObject& object) {
  Mutex::ScopedLock lock(m_mutex);
  const size_t slot = slotOf(&object);
  if (m_slots[slot].key == nullptr) {
    return;
  }
  const ObjectList::iterator position = m_slots[slot].position;
  if (m_spareNodes.size() < kMaxSpareNodes) {
    m_spareNodes.splice(m_spareNodes.begin(), m_objects, position);
  } else {
    m_objects.erase(position);
  }
  unindex(slot);
}

bool ObjectRegistry::find(const KelpObject* object, KelpObject::ObjectType& type) {
  if (object == nullptr) {
    return false;
  }
  Mutex::ScopedLock lock(m_mutex);
  const Slot& slot = m_slots[slotOf(object)];
  if (slot.key == nullptr) {
    return false;
  }
  type = (*slot.position)->m_objectType;
  return true;
}

bool ObjectRegistry::contains(const KelpObject* object) {
  KelpObject::ObjectType type;
  return find(object, type);
}

// Fibonacci hashing: neighbouring addresses spread over the whole table.
size_t ObjectRegistry::homeOf(const KelpObject* object) const {
  const auto address = static_cast<uint32_t>(reinterpret_cast<uintptr_t>(object) >> 2);
  return static_cast<uint32_t>(address * 2654435769U) >> m_slotShift;
}

// The slot that holds the object or, where it is not registered, the empty slot that it would take.
size_t ObjectRegistry::slotOf(const KelpObject* object) const {
  size_t slot = homeOf(object);
  while (m_slots[slot].key != nullptr && m_slots[slot].key != object) {
    slot = (slot + 1) & m_slotMask;
  }
  return slot;
}

void ObjectRegistry::index(const Slot& entry) {
  m_slots[slotOf(entry.key)] = entry;
}

// Empties a slot and moves up those behind it that would no longer be found past the gap.
void ObjectRegistry::unindex(size_t slot) {
  size_t gap = slot;
  for (size_t next = (gap + 1) & m_slotMask; m_slots[next].key != nullptr; next = (next + 1) & m_slotMask) {
    const size_t distanceFromHome = (next - homeOf(m_slots[next].key)) & m_slotMask;
    if (distanceFromHome >= ((next - gap) & m_slotMask)) {
      m_slots[gap] = m_slots[next];
      gap = next;
    }
  }
  m_slots[gap].key = nullptr;
}

void ObjectRegistry::growIndex() {
  const size_t slotCount = 2 * (m_slotMask + 1);
  m_slots.reset(new Slot[slotCount]());
  m_slotMask = slotCount - 1;
  --m_slotShift;
  for (ObjectList::iterator position = m_objects.begin(); position != m_objects.end(); ++position) {
    index({*position, position});
  }
}

}  // namespace Kelp
