// Creating an instance when memory runs out on the way.

#include <cstdlib>
#include <new>

#include "support.h"

namespace {

// The number of allocations that still succeed; negative for all.
long allocationsLeft = -1;

}  // namespace

// These replace the ones of the whole test program. Inlined, they would show GCC a new beside a
// free().
[[gnu::noinline]] void* operator new(std::size_t size) {
  if (allocationsLeft == 0) {
    throw std::bad_alloc();
  }
  allocationsLeft -= allocationsLeft > 0 ? 1 : 0;
  if (void* memory = std::malloc(size != 0 ? size : 1)) {
    return memory;
  }
  throw std::bad_alloc();
}

// Sorting takes its buffer so, and gives it back by the operator below.
[[gnu::noinline]] void* operator new(std::size_t size, const std::nothrow_t& /*tag*/) noexcept {
  return std::malloc(size);
}

[[gnu::noinline]] void operator delete(void* memory) noexcept {
  std::free(memory);
}

[[gnu::noinline]] void operator delete(void* memory, const std::nothrow_t& /*tag*/) noexcept {
  std::free(memory);
}

[[gnu::noinline]] void operator delete(void* memory, std::size_t /*size*/) noexcept {
  std::free(memory);
}

namespace cimd {
namespace {

TEST(OutOfMemory, AnInstanceIsCreatedWholeOrNotAtAll) {
  Repository repository;
  test::loadText(repository, "class A { [Key] string Id; string Text; };");
  NameSpace& nameSpace = repository.nameSpace(defaultNameSpace);
  const Class& cls = nameSpace.classNamed("A");
  test::FakeJournal journal;
  repository.setJournal(&journal);
  const auto given = test::instance("A", {{"Id", "1"}, {"Text", "t"}});
  const auto path = test::path("A", {{"Id", "1"}});
  long failures = 0;
  for (bool isCreated = false; !isCreated; failures += isCreated ? 0 : 1) {
    ASSERT_EQ(nameSpace.instances(cls).size(), 0U) << failures;
    ASSERT_EQ(nameSpace.instanceCount(), 0U) << failures;
    ASSERT_EQ(journal.entries, "") << failures;
    allocationsLeft = failures;
    try {
      nameSpace.createInstance(given, Origin::published);
      isCreated = true;
    } catch (const std::bad_alloc&) {
    }
    allocationsLeft = -1;
  }
  EXPECT_GT(failures, 10);
  EXPECT_EQ(journal.entries, "put root/kvasd A\n");
  EXPECT_EQ(nameSpace.instances(cls).size(), 1U);
  nameSpace.deleteInstance(path);
  EXPECT_EQ(nameSpace.instances(cls).size(), 0U);
}

}  // namespace
}  // namespace cimd
