// One-dimensional shared arrays, a shared holder for one object, and a pair of coordinates.
#pragma once

#include "core/allocation.h"
#include "core/parallel.h"
#include "core/reference_count.h"

#include <cstdint>
#include <mutex>
#include <new>
#include <type_traits>

namespace lumo {

/// A header over a shared array of `size` elements. Copies are shallow; the array is freed with
/// its last header. New numbers are not cleared; new objects are default-constructed.
template <typename T>
class VectorC {
public:
    VectorC() = default;
    /// @throws std::bad_alloc or Exception code 0.
    explicit VectorC(uint64_t n) { Own(n); }
    VectorC(const VectorC& other) { Share(other); }
    VectorC& operator=(const VectorC& other)
    {
        if (this != &other) {
            Release();
            Share(other);
        }
        return *this;
    }
    virtual ~VectorC() { Release(); }

    /// Room for n elements, or null where there are none; the caller keeps it. CopyTo asks its
    /// target for it, constructors only this class. A class with storage of its own gives it back
    /// by Release in its destructor.
    virtual T* Allocate(uint64_t n)
    {
        if (n == 0) {
            return nullptr;
        }
        const uint64_t bytes = SaturatingProduct(n, sizeof(T), 1);
        if constexpr (isPlain) {
            return static_cast<T*>(AllocArray(bytes));
        } else {
            if (bytes > maxDataSize) {
                throw std::bad_alloc();
            }
            const std::lock_guard<std::recursive_mutex> hold(allocLock);
            return new T[n];
        }
    }
    /// Destroys the elements and frees `data`.
    virtual void Deallocate()
    {
        if constexpr (isPlain) {
            FreeArray(data);
        } else {
            const std::lock_guard<std::recursive_mutex> hold(allocLock);
            delete[] data;
        }
        data = nullptr;
    }

    /// Deep copy; `dst` gets an array of its own, none for an empty source.
    void CopyTo(VectorC& dst) const
    {
        const VectorC source(*this);
        dst.Release();
        dst.Adopt(dst.Allocate(source.size), source.size);
        CloneMemory(source.data, source.size, dst.data, dst.size);
    }

    /// Gives the reference up; the header becomes empty.
    void Release()
    {
        const bool last = refCount == nullptr || LowerCount(refCount, refLock) < 1;
        if (last) {
            Deallocate();
            Free(refCount);
        }
        data = nullptr;
        refCount = nullptr;
        size = 0;
    }

    T& operator[](uint64_t i) { return data[i]; }
    const T& operator[](uint64_t i) const { return data[i]; }

    T* data = nullptr;
    std::mutex refLock;
    int32_t* refCount = nullptr;
    uint64_t size = 0;

protected:
    void Own(uint64_t n) { Adopt(VectorC::Allocate(n), n); }
    void Adopt(T* elements, uint64_t n)
    {
        data = elements;
        try {
            refCount = NewCount();
        } catch (...) {
            Deallocate();
            throw;
        }
        size = n;
    }

private:
    // Raw storage that no constructor or destructor has to see.
    static constexpr bool isPlain =
        std::is_trivially_default_constructible_v<T> && std::is_trivially_destructible_v<T>;

    void Share(const VectorC& other)
    {
        data = other.data;
        size = other.size;
        refCount = other.refCount;
        if (refCount != nullptr) {
            RaiseCount(refCount, refLock);
        }
    }
};

/// The form for arrays of numbers and plain records.
template <typename T>
class Vector : public VectorC<T> {
public:
    Vector() = default;
    explicit Vector(uint64_t n) : VectorC<T>(n) {}
    /// Every element set to `value`; in parallel from 101 elements on.
    Vector(uint64_t n, const T& value) : VectorC<T>(n)
    {
        T* elements = this->data;
        const auto fill = [&](int64_t begin, int64_t end) {
            std::fill(elements + begin, elements + end, value);
        };
        const auto count = static_cast<int64_t>(n);
        if (n > 100) {
            ParallelRanges(0, count, fill);
        } else {
            fill(0, count);
        }
    }
    Vector(const Vector&) = default;
    Vector& operator=(const Vector&) = default;
    ~Vector() override = default;
};

/// An object with a count of those who hold it: whoever lets go last deletes it.
template <typename T>
class SharedObject {
public:
    SharedObject() = default;
    /// Takes `newObject` over; where no count can be had it is deleted.
    explicit SharedObject(T* newObject) : object(newObject)
    {
        try {
            refCount = NewCount();
        } catch (...) {
            const std::lock_guard<std::recursive_mutex> hold(allocLock);
            delete object;
            throw;
        }
    }
    SharedObject(const SharedObject& other) { Share(other); }
    SharedObject& operator=(const SharedObject& other)
    {
        if (this != &other) {
            Release();
            Share(other);
        }
        return *this;
    }
    ~SharedObject() { Release(); }

    void Release()
    {
        if (refCount != nullptr && LowerCount(refCount, refLock) < 1) {
            Free(refCount);
            const std::lock_guard<std::recursive_mutex> hold(allocLock);
            delete object;
        }
        object = nullptr;
        refCount = nullptr;
    }

    std::mutex refLock;
    T* object = nullptr;
    int32_t* refCount = nullptr;

private:
    void Share(const SharedObject& other)
    {
        object = other.object;
        refCount = other.refCount;
        if (refCount != nullptr) {
            RaiseCount(refCount, refLock);
        }
    }
};

/// A pair of coordinates.
template <typename T>
struct Point2D {
    T x = 0;
    T y = 0;
};

} // namespace lumo
