#pragma once

#include "platform/CaptureService.h"
#include "tests/support/Script.h"

/// A machine with one output. Steps: "capture targets", "capture deliver", "capture start",
/// "capture stop". A failing step's text is "capture trouble".
class FakeCaptureService : public CaptureService
{
public:
    explicit FakeCaptureService(Script &script)
        : m_script(script)
    {
    }

    QCoro::Task<std::expected<QList<CaptureTarget>, Error>> targets() override
    {
        using Targets = std::expected<QList<CaptureTarget>, Error>;
        const bool succeeds = co_await m_script.reach(QStringLiteral("capture targets"));
        if (!succeeds)
            co_return Targets(std::unexpected(Error(QStringLiteral("capture trouble"))));
        co_return Targets(outputs);
    }

    std::unique_ptr<CaptureStream> makeStream(const CaptureTarget &target,
                                              const CaptureFormat &format) override
    {
        lastTarget = target;
        lastFormat = format;
        return std::make_unique<Stream>(*this);
    }

    QList<CaptureTarget> outputs{CaptureTarget{.id = 7}};
    CaptureTarget lastTarget;
    CaptureFormat lastFormat;
    QString lastQueueName;
    CaptureListener *listener = nullptr; ///< of the live stream
    int liveStreams = 0;

private:
    class Stream : public CaptureStream
    {
    public:
        explicit Stream(FakeCaptureService &service)
            : m_service(service)
        {
            ++m_service.liveStreams;
        }
        ~Stream() override
        {
            --m_service.liveStreams;
            if (m_service.listener == m_listener)
                m_service.listener = nullptr;
        }

        std::expected<void, Error> deliverTo(CaptureListener &listener,
                                             const QString &queueName) override
        {
            m_service.lastQueueName = queueName;
            if (!m_service.m_script.note(QStringLiteral("capture deliver")))
                return std::unexpected(Error(QStringLiteral("capture trouble")));
            m_listener = &listener;
            m_service.listener = m_listener;
            return {};
        }

        QCoro::Task<std::expected<void, Error>> start() override
        {
            using Started = std::expected<void, Error>;
            const bool succeeds =
                co_await m_service.m_script.reach(QStringLiteral("capture start"));
            if (!succeeds)
                co_return Started(std::unexpected(Error(QStringLiteral("capture trouble"))));
            co_return Started();
        }

        QCoro::Task<> stop() override
        {
            co_await m_service.m_script.reach(QStringLiteral("capture stop"));
        }

    private:
        FakeCaptureService &m_service;
        CaptureListener *m_listener = nullptr;
    };

    Script &m_script;
};
