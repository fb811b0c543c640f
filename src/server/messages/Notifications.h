#pragma once

#include "chain/Events.h"
#include "protocol/LogUpdateContents.h"
#include "protocol/StreamContents.h"
#include "protocol/StreamingSettings.h"
#include "server/messages/Payload.h"

#include <utility>

/// Messages that servers send on their own account.
namespace tarvik::com::server::messages {

/// The results of one image, encoded from where the processing chain keeps them: made, sent and
/// gone within the notification of the event.
class Stream final : public Plain
{
public:
    Stream(const breakup::FrameProcessedEvent& event, const StreamingSettings& settings)
        : Plain(kinds::STREAM),
          _event(event),
          _settings(settings)
    {}

    void send(io::com::Encoder& encoder) const override
    {
        serializeStream(encoder, _settings, *_event.originalImage, *_event.binaryImage,
                        *_event.frame, *_event.matchings);
    }

private:
    const breakup::FrameProcessedEvent& _event;
    StreamingSettings _settings;
};

class LogUpdate final : public Plain
{
public:
    explicit LogUpdate(LogUpdateContents contents)
        : Plain(kinds::LOG_UPDATE),
          _contents(std::move(contents))
    {}

    void send(io::com::Encoder& encoder) const override
    {
        LogUpdateContents::serialize(encoder, _contents);
    }

private:
    LogUpdateContents _contents;
};

} // namespace tarvik::com::server::messages
