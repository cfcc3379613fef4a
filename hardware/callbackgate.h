#pragma once

/// Lets the driver's callbacks into the object that they are meant for, as long as that object is
/// there. A driver may call late: after its callbacks were cleared, after it was detached, after
/// the object is gone. All that a callback brings along is a pointer, so the objects that are open
/// to callbacks are listed process-wide, and a pointer that is not on the list leads nowhere.
///
/// Any thread. Nobody holds a lock while a callback is inside.
class CallbackGate {
public:
    /// Opens the gate for callbacks that bring `context`.
    explicit CallbackGate(void* context);
    /// Closes the gate.
    ~CallbackGate();
    CallbackGate(const CallbackGate&) = delete;
    CallbackGate& operator=(const CallbackGate&) = delete;

    /// Lets no more callbacks in and waits for those inside, but for the caller's own.
    void close();

    /// A callback's stay inside.
    class Visit {
    public:
        explicit Visit(void* context);
        ~Visit();
        Visit(const Visit&) = delete;
        Visit& operator=(const Visit&) = delete;

        /// False where the gate is closed: the context is not to be used then.
        explicit operator bool() const { return m_inside; }

    private:
        void* m_context;
        bool m_inside;
    };

private:
    void* m_context;
};
