#pragma once

#include "analysis/Analyzer.h"
#include "breakup/PolygonDivider.h"
#include "camera/Camera.h"
#include "database/Database.h"
#include "server/messages/Payload.h"

#include <memory>
#include <utility>

/// Messages that read or replace what a component is configured with.
namespace tarvik::com::server::messages {

class GetAnalyzerConfig final : public Answered<analysis::AnalyzerConfiguration>
{
public:
    explicit GetAnalyzerConfig(const analysis::Analyzer& analyzer)
        : Answered(kinds::GET_ANALYZER_CONFIG, "AnalyzerConfig"),
          _analyzer(analyzer)
    {}

    void act() override { setAnswer(_analyzer.config()); }

private:
    const analysis::Analyzer& _analyzer;
};

class SetAnalyzerConfig final : public Incoming<analysis::AnalyzerConfiguration>
{
public:
    explicit SetAnalyzerConfig(analysis::Analyzer& analyzer)
        : Incoming(kinds::SET_ANALYZER_CONFIG, "AnalyzerConfig"),
          _analyzer(analyzer)
    {}

    void act() override { _analyzer.setConfig(payload()); }

private:
    analysis::Analyzer& _analyzer;
};

/// Fails with "Camera not open.", which ends the connection.
class GetCameraConfig final : public Answered<camera::CameraConfiguration>
{
public:
    explicit GetCameraConfig(const camera::Camera& camera)
        : Answered(kinds::GET_CAMERA_CONFIG, "CameraConfig"),
          _camera(camera)
    {}

    void act() override { setAnswer(_camera.config()); }

private:
    const camera::Camera& _camera;
};

class SetCameraConfig final : public Incoming<camera::CameraConfiguration>
{
public:
    explicit SetCameraConfig(camera::Camera& camera)
        : Incoming(kinds::SET_CAMERA_CONFIG, "CameraConfig"),
          _camera(camera)
    {}

    void act() override { _camera.setConfig(payload()); }

private:
    camera::Camera& _camera;
};

class GetBreakupConfig final : public Answered<breakup::BreakupConfiguration>
{
public:
    explicit GetBreakupConfig(const breakup::PolygonDivider& divider)
        : Answered(kinds::GET_BREAKUP_CONFIG, "BreakupConfig"),
          _divider(divider)
    {}

    void act() override { setAnswer(_divider.config()); }

private:
    const breakup::PolygonDivider& _divider;
};

class SetBreakupConfig final : public Incoming<breakup::BreakupConfiguration>
{
public:
    explicit SetBreakupConfig(breakup::PolygonDivider& divider)
        : Incoming(kinds::SET_BREAKUP_CONFIG, "BreakupConfig"),
          _divider(divider)
    {}

    void act() override { _divider.setConfig(payload()); }

private:
    breakup::PolygonDivider& _divider;
};

class GetDatabase final : public Answered<database::DatabaseState>
{
public:
    explicit GetDatabase(const database::Database& database)
        : Answered(kinds::GET_DATABASE, "Database"),
          _database(database)
    {}

    void act() override { setAnswer(_database.state()); }

private:
    const database::Database& _database;
};

class SetDatabase final : public Incoming<database::DatabaseState>
{
public:
    explicit SetDatabase(database::Database& database)
        : Incoming(kinds::SET_DATABASE, "Database"),
          _database(database)
    {}

    void act() override { _database.setState(payload()); }

private:
    database::Database& _database;
};

class SetDatabaseConfig final : public Incoming<database::DatabaseConfiguration>
{
public:
    explicit SetDatabaseConfig(database::Database& database)
        : Incoming(kinds::SET_DATABASE_CONFIG, "DatabaseConfig"),
          _database(database)
    {}

    void act() override { _database.setConfig(payload()); }

private:
    database::Database& _database;
};

/// Its payload is laid out as the class of the comparator in use when it arrives.
class SetDatabaseComparator final : public Plain
{
public:
    explicit SetDatabaseComparator(database::Database& database)
        : Plain(kinds::SET_DATABASE_COMPARATOR),
          _database(database)
    {}

    void receive(io::com::Decoder& decoder) override
    {
        _settings = database::ComparatorFactory::make(_database.config().comparatorImpl());
        database::serializeComparator(decoder, "DatabaseComparator", *_settings);
    }

    void act() override { _database.setComparator(*_settings); }

private:
    database::Database& _database;
    std::shared_ptr<database::Comparator> _settings;
};

} // namespace tarvik::com::server::messages
