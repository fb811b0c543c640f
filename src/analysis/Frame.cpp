#include "analysis/Frame.h"

#include <algorithm>
#include <utility>

namespace tarvik::analysis {

namespace {

/// 0.01: an object that moved less than 0.1 normalised units is the same one.
constexpr fp<32, 28> MAX_SQUARED_MOVE{2684355};

} // namespace

Frame::Frame(const Frame& other)
{
    copyFrom(other);
}

Frame& Frame::operator=(const Frame& other)
{
    if (this != &other) {
        copyFrom(other);
    }
    return *this;
}

void Frame::copyFrom(const Frame& other)
{
    _elapsedTime1stRun = other._elapsedTime1stRun;
    _elapsedTime2ndRun = other._elapsedTime2ndRun;
    std::copy_n(other._pool.begin(), other._poolUsed, _pool.begin());
    _poolUsed = other._poolUsed;
    std::copy_n(other._partPool.begin(), other._partPoolUsed, _partPool.begin());
    _partPoolUsed = other._partPoolUsed;
    std::ranges::copy(other.objects(), _objects.begin());
    _objectCount = other._objectCount;
    _lastObjectCount = other._lastObjectCount;
    _lastObjects = other._lastObjects;
    _possibleCuts = other._possibleCuts;
    _brokenUp = other._brokenUp;
    _reAnalyzed = other._reAnalyzed;
}

void Frame::beginImage()
{
    _lastObjectCount = _objectCount;
    for (std::size_t i = 0; i < static_cast<std::size_t>(_objectCount); ++i) {
        Object& object = _objects[i];
        _lastObjects[i] = {object.id(), object.polygon().position(),
                           object.fourierDescriptor().rotation()};
        object.setId(-1);
    }
    _objectCount = 0;
    _poolUsed = 0;
    _partPoolUsed = 0;
}

const Object* Frame::findObject(int id) const
{
    if (id == -1) {
        return nullptr;
    }
    const auto all = objects();
    const auto found = std::ranges::find(all, id, &Object::id);
    return found == all.end() ? nullptr : &*found;
}

const Object* Frame::findObject(Complex<16, 14> p) const
{
    for (int i = _objectCount - 1; i >= 0; --i) {
        if (object(i).polygon().contains(p)) {
            return &object(i);
        }
    }
    return nullptr;
}

Object* Frame::findObject(Complex<16, 14> p)
{
    return const_cast<Object*>(
        std::as_const(*this).findObject(p)); // NOLINT(cppcoreguidelines-pro-type-const-cast): ours
}

void Frame::setObject(int i, const Object& object)
{
    if (i < 0 || i >= MAX_OBJECTS) {
        return;
    }
    _objects[static_cast<std::size_t>(i)] = object;
    _objectCount = static_cast<std::int16_t>(std::max<int>(_objectCount, i + 1));
}

void Frame::borrowObject(int i, const Object& object)
{
    if (i < 0 || i >= MAX_OBJECTS) {
        return;
    }
    _objects[static_cast<std::size_t>(i)].borrow(object);
    _objectCount = static_cast<std::int16_t>(std::max<int>(_objectCount, i + 1));
}

std::span<Complex<16, 14>> Frame::takePartPoints(int count)
{
    if (count < 0 || count > PART_POOL_SIZE - _partPoolUsed) {
        return {};
    }
    const auto taken = std::span(_partPool).subspan(static_cast<std::size_t>(_partPoolUsed),
                                                    static_cast<std::size_t>(count));
    _partPoolUsed += count;
    return taken;
}

Frame::LastObject* Frame::nearestLastObject(Complex<16, 14> position)
{
    LastObject* nearest = nullptr;
    fp<32, 28> best = MAX_SQUARED_MOVE;
    for (std::size_t i = 0; i < static_cast<std::size_t>(_lastObjectCount); ++i) {
        LastObject& last = _lastObjects[i];
        if (last.id == -1) {
            continue;
        }
        const fp<32, 28> distance = squaredNorm(position - last.position);
        if (distance < best) {
            best = distance;
            nearest = &last;
        }
    }
    return nearest;
}

void Frame::matchObjectIDs()
{
    for (std::size_t i = 0; i < static_cast<std::size_t>(_objectCount); ++i) {
        Object& object = _objects[i];
        LastObject* const last = nearestLastObject(object.polygon().position());
        if (last != nullptr) {
            object.setId(std::exchange(last->id, -1));
        } else {
            object.setId(Object::currentID);
            Object::currentID =
                wrapTo<std::int32_t>(static_cast<std::uint32_t>(Object::currentID) + 1);
        }
    }
}

} // namespace tarvik::analysis
