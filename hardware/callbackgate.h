#pragma once

/// Lets the driver's callbacks into the object that they are meant for, as long as that object is
/// there. A driver may call late: after its callbacks were cleared, after it was detached, after
/// the object is gone. All that a callback brings along is a pointer, so the objects that are open
/// to callbacks are listed process-wide, and a pointer that is not on the list leads nowhere.
///
/// Any thread. Nobody holds a lock while a callback is inside, and a callback takes none.
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

    struct Entry;

    /// A callback's stay inside. Stays of one thread end in the opposite order of their beginnings.
    class Visit {
    public:
        explicit Visit(void* context);
        ~Visit();
        Visit(const Visit&) = delete;
        Visit& operator=(const Visit&) = delete;

        /// False where the gate is closed: the context is not to be used then.
        explicit operator bool() const { return m_entry != nullptr; }

    private:
        friend class CallbackGate;

        Entry* m_entry = nullptr;
        Visit* m_outer = nullptr; ///< of the same thread
    };

private:
    Entry* m_entry; ///< null when closed
};
