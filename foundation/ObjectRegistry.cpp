#include "foundation/ObjectRegistry.h"

#include <algorithm>
#include <new>

#include "foundation/MutexCalls.h"
#include "foundation/RequireMemory.h"

namespace Kelp {

// All three are constant-initialised.
ObjectRegistry::Node ObjectRegistry::s_initialNodes[kInitialCapacity];
alignas(64) uint32_t ObjectRegistry::s_initialBuckets[kInitialCapacity];
ObjectRegistry ObjectRegistry::s_instance;

inline uint32_t& ObjectRegistry::bucketOf(const KelpObject* object) {
  return m_buckets[bucketNumberOf(object, m_hashShift)];
}

// The link that holds the object's node number or, where it is not registered, the 0 that ends its bucket's chain.
inline uint32_t* ObjectRegistry::linkTo(const KelpObject* object) {
  uint32_t* link = &bucketOf(object);
  while (*link != 0 && m_nodes[*link].object != object) {
    link = &m_nodes[*link].nextInChain;
  }
  return link;
}

inline uint32_t ObjectRegistry::takeNode() {
  const uint32_t number = m_firstFree;
  if (__builtin_expect(number != 0, 1)) {
    m_firstFree = m_nodes[number].nextInChain;
    return number;
  }
  if (m_usedNodes == m_capacity) {
    grow();
  }
  return m_usedNodes++;
}

void ObjectRegistry::add(const KelpObject& object) {
  const InlineScopedLock lock(m_mutex);
  const uint32_t number = takeNode();
  uint32_t& bucket = bucketOf(&object);
  Node& head = m_nodes[0];
  m_nodes[number] = {&object, bucket, 0, head.older};
  m_nodes[head.older].newer = number;
  head.older = number;
  bucket = number;
}

// Takes the node that the link holds out of its chain and out of the list.
inline void ObjectRegistry::drop(uint32_t& link) {
  const uint32_t number = link;
  Node& node = m_nodes[number];
  link = node.nextInChain;
  m_nodes[node.newer].older = node.older;
  m_nodes[node.older].newer = node.newer;
  node.nextInChain = m_firstFree;
  m_firstFree = number;
}

void ObjectRegistry::remove(const KelpObject& object) noexcept {
  const InlineScopedLock lock(m_mutex);
  // An address is there more than once after an object has left it without its destructor.
  uint32_t* link = &bucketOf(&object);
  while (*link != 0) {
    if (m_nodes[*link].object == &object) {
      drop(*link);
    } else {
      link = &m_nodes[*link].nextInChain;
    }
  }
}

bool ObjectRegistry::find(const KelpObject* object, KelpObject::ObjectType& type) noexcept {
  const InlineScopedLock lock(m_mutex);
  if (*linkTo(object) == 0) {
    return false;
  }
  type = object->m_objectType.load(std::memory_order_relaxed);
  return true;
}

bool ObjectRegistry::contains(const KelpObject* object) noexcept {
  const InlineScopedLock lock(m_mutex);
  return *linkTo(object) != 0;
}

// Doubles the table. All nodes hold objects: they are entered again from the oldest to the newest, as they came.
void ObjectRegistry::grow() {
  Node* const formerNodes = m_nodes;
  uint32_t* const formerBuckets = m_buckets;
  auto* const nodes = new (std::nothrow) Node[size_t{2} * m_capacity];
  requireMemory(nodes);
  auto* const buckets = new (std::nothrow) uint32_t[size_t{2} * m_capacity]();
  requireMemory(buckets);
  std::copy_n(formerNodes, m_capacity, nodes);
  m_nodes = nodes;
  m_buckets = buckets;
  m_capacity *= 2;
  m_hashShift--;
  for (uint32_t number = nodes[0].newer; number != 0; number = nodes[number].newer) {
    uint32_t& bucket = bucketOf(nodes[number].object);
    nodes[number].nextInChain = bucket;
    bucket = number;
  }
  if (formerNodes != s_initialNodes) {
    delete[] formerNodes;
    delete[] formerBuckets;
  }
}

}  // namespace Kelp
