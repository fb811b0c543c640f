#include "support/OperatorNew.h"

#include <cstddef>
#include <cstdlib>
#include <new>

void* operator new(std::size_t size)
{
    tarvik::test::beforeAllocation();
    void* const memory = std::malloc(size == 0 ? 1 : size);
    if (memory == nullptr) {
        throw std::bad_alloc();
    }
    return memory;
}

void operator delete(void* memory) noexcept
{
    std::free(memory);
}

void operator delete(void* memory, std::size_t /*size*/) noexcept
{
    std::free(memory);
}
