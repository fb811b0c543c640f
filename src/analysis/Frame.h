#pragma once

#include "analysis/Object.h"
#include "breakup/Cuts.h"
#include "core/serialization/Fields.h"
#include "math/Complex.h"
#include "math/fp.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

namespace tarvik::analysis {

/// The result of analysing one image: at most 25 objects, the cut candidates, and what the next
/// image needs to know of this one.
///
/// Refilled for every image; everything lives in fixed storage. Its objects' points are slices of
/// the frame's own pools, while a copy of a frame owns copies of its points.
class Frame
{
public:
    static constexpr int MAX_OBJECTS = 25;
    /// Points of all outlines and holes of one image.
    static constexpr int POOL_SIZE = 1024;
    /// Points of all parts of one image: each of 25 cuts doubles its two ends and needs a closing
    /// point for one part more.
    static constexpr int PART_POOL_SIZE = POOL_SIZE + 3 * breakup::Cuts::CAPACITY;

    Frame() = default;
    Frame(const Frame& other);
    Frame& operator=(const Frame& other);
    ~Frame() = default;

    /// Forgets the objects, but keeps where they were and empties the pools.
    void beginImage();

    /// The first object of this identity; null for -1 or when there is none.
    [[nodiscard]] const Object* findObject(int id) const;
    /// The last object whose outline contains the absolute point; null when there is none.
    [[nodiscard]] const Object* findObject(Complex<16, 14> p) const;
    [[nodiscard]] Object* findObject(Complex<16, 14> p);
    /// Assigns object i and counts up to it; ignored outside 0 ... 24.
    void setObject(int i, const Object& object);
    /// As setObject(), but the frame's object borrows the other's points, which must outlive it.
    void borrowObject(int i, const Object& object);

    [[nodiscard]] int objectCount() const { return _objectCount; }

    void setObjectCount(int count) { _objectCount = static_cast<std::int16_t>(count); }

    [[nodiscard]] Object& object(int i) { return _objects[static_cast<std::size_t>(i)]; }

    [[nodiscard]] const Object& object(int i) const
    {
        return _objects[static_cast<std::size_t>(i)];
    }

    [[nodiscard]] std::span<const Object> objects() const
    {
        return {_objects.data(), static_cast<std::size_t>(_objectCount)};
    }

    [[nodiscard]] std::span<Complex<16, 14>> freePoints()
    {
        return std::span(_pool).subspan(static_cast<std::size_t>(_poolUsed));
    }

    [[nodiscard]] int poolUsed() const { return _poolUsed; }

    /// Takes the first count of the free points into use.
    void usePoints(int count) { _poolUsed += count; }

    /// Takes count points for a part; empty when they do not fit.
    [[nodiscard]] std::span<Complex<16, 14>> takePartPoints(int count);

    /// Gives every object the identity of the nearest object of the previous image, if there is one
    /// within 0.1 normalised units, else a new one.
    void matchObjectIDs();

    [[nodiscard]] std::int16_t lastObjectCount() const { return _lastObjectCount; }

    [[nodiscard]] breakup::Cuts& possibleCuts() { return _possibleCuts; }

    [[nodiscard]] const breakup::Cuts& possibleCuts() const { return _possibleCuts; }

    /// The breakup stage divided objects of this frame.
    [[nodiscard]] bool brokenUp() const { return _brokenUp; }

    void setBrokenUp(bool brokenUp) { _brokenUp = brokenUp; }

    /// The frame has been through its second pass.
    [[nodiscard]] bool reAnalyzed() const { return _reAnalyzed; }

    void setReAnalyzed(bool reAnalyzed) { _reAnalyzed = reAnalyzed; }

    /// Microseconds of the first and of the second pass (0 when there was none).
    [[nodiscard]] std::int64_t elapsedTime1stRun() const { return _elapsedTime1stRun; }

    [[nodiscard]] std::int64_t elapsedTime2ndRun() const { return _elapsedTime2ndRun; }

    void setElapsedTime1stRun(std::int64_t us) { _elapsedTime1stRun = us; }

    void setElapsedTime2ndRun(std::int64_t us) { _elapsedTime2ndRun = us; }

    template <class S, class Self>
    static void serialize(S& s, Self& self);

private:
    /// What is remembered of an object of the previous image.
    struct LastObject
    {
        std::int32_t id = -1; ///< -1 once taken over
        Complex<16, 14> position;
        fp<32, 15> rotation;
    };

    [[nodiscard]] LastObject* nearestLastObject(Complex<16, 14> position);
    void copyFrom(const Frame& other);

    std::int64_t _elapsedTime1stRun = 0;
    std::int64_t _elapsedTime2ndRun = 0;
    std::array<Complex<16, 14>, POOL_SIZE> _pool;
    std::int32_t _poolUsed = 0;
    std::array<Complex<16, 14>, PART_POOL_SIZE> _partPool;
    std::int32_t _partPoolUsed = 0;
    std::array<Object, MAX_OBJECTS> _objects;
    std::int16_t _objectCount = 0;
    std::int16_t _lastObjectCount = 0;
    std::array<LastObject, MAX_OBJECTS> _lastObjects;
    breakup::Cuts _possibleCuts;
    bool _brokenUp = false;
    bool _reAnalyzed = false;
};

template <class S, class Self>
void Frame::serialize(S& s, Self& self)
{
    using io::serialization::field;
    s& field("ElapsedTime1stRun", self._elapsedTime1stRun) &
        field("ElapsedTime2ndRun", self._elapsedTime2ndRun) & field("BrokenUp", self._brokenUp) &
        field("ReAnalyzed", self._reAnalyzed) & field("Cuts", self._possibleCuts);
    std::int16_t count = self._objectCount;
    s& field("ObjectCount", count) & field("LastObjectCount", self._lastObjectCount);
    s.checkCount("ObjectCount", count, MAX_OBJECTS);
    s.checkCount("LastObjectCount", self._lastObjectCount, MAX_OBJECTS);
    if constexpr (!S::isEncoder()) {
        self._objectCount = count;
    }
    for (std::size_t i = 0; i < static_cast<std::size_t>(count); ++i) {
        s& field("Object", self._objects[i]);
    }
}

} // namespace tarvik::analysis
