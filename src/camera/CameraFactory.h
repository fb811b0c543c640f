#pragma once

#include "core/util/Factory.h"
#include "core/util/Singleton.h"

namespace tarvik::camera {

class CameraImpl;

/// The supported camera models. The first one is the default.
class CameraFactory : public util::Singleton<CameraFactory>, public util::Factory<CameraImpl>
{
public:
    ~CameraFactory() override;

    [[nodiscard]] CameraImpl* create(const Implementation* implementation) override;
    void destroy(CameraImpl* driver) override;

private:
    friend class util::Singleton<CameraFactory>;
    CameraFactory();
};

/// Hands a driver back to the factory; for std::unique_ptr.
struct DriverDeleter
{
    void operator()(CameraImpl* driver) const { CameraFactory::instance().destroy(driver); }
};

} // namespace tarvik::camera
