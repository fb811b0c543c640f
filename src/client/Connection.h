#pragma once

#include "client/ClientException.h"
#include "client/Messages.h"
#include "core/concurrent/Mutex.h"
#include "core/concurrent/Thread.h"
#include "io/com/Com.h"

#include <atomic>
#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace tarvik::client {

/// How long a client waits for what.
struct Timeouts
{
    std::chrono::milliseconds connect{5000};
    /// A server that has just lost its client needs a moment before it listens for the next one:
    /// a refused connection is tried again for this long.
    std::chrono::milliseconds refused{1500};
    std::chrono::milliseconds greeting{5000};
    std::chrono::milliseconds response{5000};
};

/// What both kinds of client share: a connection with a thread that receives.
///
/// Threads: any may send and request; one request is under way at a time. Handlers run on the
/// receiving thread and may send, but neither request nor close: those wait for that very thread.
/// Messages are added before the first connect(). Every failure is a ClientException.
class Connection : private concurrent::Thread
{
public:
    using LostHandler = std::function<void(const ClientException&)>;

    Connection(ServerAddress server, const Timeouts& timeouts);
    Connection(const Connection&) = delete;
    Connection& operator=(const Connection&) = delete;
    ~Connection() override;

    /// What answers to this request; take() it after request().
    template <class T>
    Answer<T>& addAnswer(const com::kinds::MessageKind& kind)
    {
        return add(std::make_unique<Answer<T>>(kind));
    }

    template <class T>
    void addIncoming(const com::kinds::MessageKind& kind, typename Incoming<T>::Handler handler)
    {
        add(std::make_unique<Incoming<T>>(kind, std::move(handler)));
    }

    /// A message that needs no reaction.
    void addIgnored(const com::kinds::MessageKind& kind) { add(std::make_unique<Plain>(kind)); }

    /// Called once for a connection that ends otherwise than by close() or a time-out.
    void setLostHandler(LostHandler handler) { _lostHandler = std::move(handler); }

    void connect();
    void close();

    [[nodiscard]] bool connected() const { return _connected; }

    /// What the server said of itself. After connect().
    [[nodiscard]] const io::com::Greeting& greeting() const { return _greeting; }

    [[nodiscard]] const ServerAddress& server() const { return _server; }

    void send(const io::com::Message& message);

    /// Sends and waits for the answer.
    template <class T>
    [[nodiscard]] T ask(Answer<T>& answer, const io::com::Message& request)
    {
        const concurrent::MutexLock lock(_requestMutex);
        sendRequest(request);
        return answer.take();
    }

    template <class T>
    [[nodiscard]] T ask(Answer<T>& answer)
    {
        return ask(answer, answer);
    }

    /// Waits for the server to end the connection; false when it has not after this time.
    [[nodiscard]] bool waitUntilLost(std::chrono::milliseconds time);

    /// Ends the connection because something did not come in time, and returns what to throw.
    [[nodiscard]] ClientException giveUp(const std::string& what, std::chrono::milliseconds time);

    /// Why there is no connection; what to throw.
    [[nodiscard]] ClientException failure() const;

    /// Throws Misuse on the receiving thread.
    void checkMayWait() const;

private:
    template <class M>
    M& add(std::unique_ptr<M> message)
    {
        M& added = *message;
        _channel.registerMessage(message.get());
        static_cast<void>(message.release()); // the channel's now
        return added;
    }

    void open(const std::string& address);
    void openPatiently(const std::string& address);
    void run() override;
    void receiveGreeting();
    void awaitGreeting();
    void end(const ClientException& reason);
    void sendRequest(const io::com::Message& request);

    const ServerAddress _server;
    const Timeouts _timeouts;
    io::com::Com _channel{false};
    LostHandler _lostHandler;
    io::com::Greeting _greeting;

    std::atomic<bool> _connected{false};
    std::atomic<bool> _closing{false};

    /// One request at a time. Lock order: this, then the channel's locks or _stateMutex.
    concurrent::Mutex _requestMutex;
    /// Guards the two below. A leaf.
    mutable concurrent::Mutex _stateMutex;
    concurrent::Condition _stateChanged;
    bool _greeted TARVIK_GUARDED_BY(_stateMutex) = false;
    /// Why the connection has ended; nothing while it lives.
    std::optional<ClientException> _failure TARVIK_GUARDED_BY(_stateMutex);
};

} // namespace tarvik::client
