#pragma once

#include <QMutex>
#include <QStringList>
#include <QtTest>
#include <memory>

/// Notes what the toolkit complains of while this lives, on any thread. There is one at a time.
class Complaints {
public:
    Complaints() {
        noted().clear();
        previous() = qInstallMessageHandler(&Complaints::note);
    }
    ~Complaints() { qInstallMessageHandler(previous()); }
    Q_DISABLE_COPY(Complaints)

    QString all() const { return noted().join(QLatin1Char('\n')); }

private:
    static QStringList& noted() {
        static QStringList messages;
        return messages;
    }
    static QtMessageHandler& previous() {
        static QtMessageHandler handler = nullptr;
        return handler;
    }
    static void note(QtMsgType type, QMessageLogContext const& context, QString const& message) {
        static QMutex mutex;
        const QMutexLocker lock(&mutex);
        if (type != QtDebugMsg && type != QtInfoMsg)
            noted().append(message);
        previous()(type, context, message);
    }
};

/// A test whose functions fail where the toolkit warns of something meanwhile.
class QuietTest : public QObject {
    Q_OBJECT

private slots:
    void init() { m_complaints = std::make_unique<Complaints>(); }
    void cleanup() {
        const QString complaints = m_complaints->all();
        m_complaints.reset();
        QVERIFY2(complaints.isEmpty(), qPrintable(complaints));
    }

private:
    std::unique_ptr<Complaints> m_complaints;
};
