// The live objects of the process, newest first, with an index that finds one in constant time.
//
// The index is a hash table whose chains are newest first too, so that an object that comes and goes is found at once
// however many others live; its node is used again, so that it costs no allocation and little more than the lock.
// The registry is there before any constructor runs and is never destroyed: objects that a host's static constructors
// build, or its static destructors destroy, find it.
#ifndef KELP_FOUNDATION_OBJECT_REGISTRY_H
#define KELP_FOUNDATION_OBJECT_REGISTRY_H

#include <pthread.h>
#include <stddef.h>
#include <stdint.h>

#include "KelpObject.h"

namespace Kelp {

// Threads: every operation can be called on any thread.
class alignas(64) ObjectRegistry {
 public:
  static ObjectRegistry& getInstance() { return s_instance; }

  void add(const KelpObject& object);
  void remove(const KelpObject& object) noexcept;

  // Stores the live object's type number. Returns false when no object lives at `object`. Logs nothing.
  bool find(const KelpObject* object, KelpObject::ObjectType& type) noexcept;
  bool contains(const KelpObject* object) noexcept;

  // The bucket, of 2 to the power of 32 - `hashShift` (16 or more buckets), that the object's address belongs to.
  // Fibonacci hashing of 512-byte blocks, whose highest bits spread over the whole table even what lies in step, as the
  // stacks of threads do. The place in the block is in the lowest bits: neighbours share a cache line of the table.
  static uint32_t bucketNumberOf(const KelpObject* object, uint32_t hashShift) {
    const auto address = reinterpret_cast<uintptr_t>(object);
    const uint32_t blockHash = static_cast<uint32_t>(address >> 9) * 2654435769U;
    const uint32_t placeInBlock = static_cast<uint32_t>(address >> 5) & 15;
    return (blockHash >> hashShift) ^ placeInBlock;
  }

 private:
  // An entry of the list, also in its bucket's chain while it holds an object and in the chain of free nodes while not.
  // Links are node numbers. Node 0 holds no object: it joins both ends of the list, and ends every chain.
  struct Node {
    const KelpObject* object;
    uint32_t nextInChain;
    uint32_t newer;
    uint32_t older;
  };

  static constexpr uint32_t kInitialCapacity = 256;
  static constexpr uint32_t kInitialHashShift = 24;

  constexpr ObjectRegistry() = default;

  uint32_t& bucketOf(const KelpObject* object);
  uint32_t* linkTo(const KelpObject* object);
  uint32_t takeNode();
  void drop(uint32_t& link);
  void grow();

  static Node s_initialNodes[kInitialCapacity];
  static uint32_t s_initialBuckets[kInitialCapacity];
  static ObjectRegistry s_instance;

  pthread_mutex_t m_mutex = PTHREAD_MUTEX_INITIALIZER;  // guards all below; on one cache line with most of it
  Node* m_nodes = s_initialNodes;
  uint32_t* m_buckets = s_initialBuckets;    // each the newest node of its chain
  uint32_t m_firstFree = 0;                  // of the nodes that held an object before
  uint32_t m_hashShift = kInitialHashShift;  // leaves as many bits of a 32-bit hash as number the buckets
  uint32_t m_capacity = kInitialCapacity;    // the number of nodes and of buckets: a power of two
  uint32_t m_usedNodes = 1;                  // nodes from here on have held none yet
};

}  // namespace Kelp

#endif  // KELP_FOUNDATION_OBJECT_REGISTRY_H
