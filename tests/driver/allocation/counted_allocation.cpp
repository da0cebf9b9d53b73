#include "counted_allocation.h"

#include <cstdlib>
#include <new>

namespace quorin_test {

thread_local int allocationsLeft = never;
thread_local bool onlyOneFails = false;
thread_local unsigned long allocations = 0;
thread_local unsigned long failedAllocations = 0;
thread_local long liveAllocations = 0;

namespace {

void* allocate(std::size_t size) {
  if (allocationsLeft == 0) {
    allocationsLeft = onlyOneFails ? never : 0;
    ++failedAllocations;
    return nullptr;
  }
  if (allocationsLeft != never) {
    --allocationsLeft;
  }
  ++allocations;
  ++liveAllocations;
  return std::malloc(size == 0 ? 1 : size);
}

void* allocateOrThrow(std::size_t size) {
  void* const memory = allocate(size);
  if (memory == nullptr) {
    throw std::bad_alloc();
  }
  return memory;
}

void release(void* memory) {
  liveAllocations -= memory == nullptr ? 0 : 1;
  std::free(memory);
}

}  // namespace
}  // namespace quorin_test

void* operator new(std::size_t size) { return quorin_test::allocateOrThrow(size); }
void* operator new[](std::size_t size) { return quorin_test::allocateOrThrow(size); }
void* operator new(std::size_t size, const std::nothrow_t&) noexcept { return quorin_test::allocate(size); }
void* operator new[](std::size_t size, const std::nothrow_t&) noexcept { return quorin_test::allocate(size); }
void operator delete(void* memory) noexcept { quorin_test::release(memory); }
void operator delete[](void* memory) noexcept { quorin_test::release(memory); }
void operator delete(void* memory, std::size_t) noexcept { quorin_test::release(memory); }
void operator delete[](void* memory, std::size_t) noexcept { quorin_test::release(memory); }
