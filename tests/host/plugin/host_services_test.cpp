#include "host/plugin/host_services.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QSocketNotifier>
#include <QTest>
#include <array>
#include <thread>

namespace quillmoor::host {
namespace {

const installer_host_services& table() {
    return HostServices::shared().table();
}

TEST(HostServices, ReportTheVersionOfTheInterface) {
    EXPECT_EQ(table().version, static_cast<std::uint32_t>(INSTALLER_PLUGIN_VERSION));
}

TEST(HostServices, KnowTheMainThread) {
    EXPECT_EQ(table().is_main_thread(table().context), 1);
    int elsewhere = 1;
    std::thread([&] { elsewhere = table().is_main_thread(table().context); }).join();
    EXPECT_EQ(elsewhere, 0);
}

// Counts the bytes that arrive at a descriptor.
struct Reader {
    std::array<int, 2> pipe{-1, -1};
    int bytes = 0;
    bool onMainThread = false;

    Reader() { EXPECT_EQ(::pipe(pipe.data()), 0); }
    void put() const { EXPECT_EQ(::write(pipe[1], "!", 1), 1); }
    static void drain(void* user) {
        auto& self = *static_cast<Reader*>(user);
        char byte = 0;
        if (::read(self.pipe[0], &byte, 1) == 1) ++self.bytes;
        self.onMainThread = HostServices::shared().isMainThread();
    }
};

TEST(HostServices, DrainADescriptorWheneverItIsReadable) {
    static Reader reader;
    table().watch_descriptor(table().context, reader.pipe[0], Reader::drain, &reader);
    reader.put();
    reader.put();
    EXPECT_TRUE(QTest::qWaitFor([] { return reader.bytes == 2; }, 5000));
    reader.put();
    EXPECT_TRUE(QTest::qWaitFor([] { return reader.bytes == 3; }, 5000));
}

TEST(HostServices, ADescriptorIsAlwaysDrainedOnTheMainThread) {
    static Reader reader;
    std::thread([] {
        table().watch_descriptor(table().context, reader.pipe[0], Reader::drain, &reader);
    }).join();
    reader.put();
    EXPECT_TRUE(QTest::qWaitFor([] { return reader.bytes == 1; }, 5000));
    EXPECT_TRUE(reader.onMainThread);
}

TEST(HostServices, AnInvalidDescriptorIsIgnored) {
    const auto watched = [] {
        QCoreApplication::processEvents();
        return QCoreApplication::instance()->findChildren<QSocketNotifier*>().size();
    };
    const auto before = watched();
    table().watch_descriptor(table().context, -1, Reader::drain, nullptr);
    table().watch_descriptor(table().context, 0, nullptr, nullptr);
    EXPECT_EQ(watched(), before);
}

// Sends all events that are pending.
void quiet() {
    while (table().send_next_event(table().context, 0) != 0) {
    }
}

TEST(HostServices, SendTheNextEvent) {
    quiet();
    bool sent = false;
    QMetaObject::invokeMethod(
        QCoreApplication::instance(), [&] { sent = true; }, Qt::QueuedConnection);
    EXPECT_EQ(table().send_next_event(table().context, 0), 1);
    EXPECT_TRUE(sent);
}

TEST(HostServices, WaitForAnEventThatIsStillToCome) {
    quiet();
    std::atomic<bool> sent = false;
    std::thread later([&] {
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
        QMetaObject::invokeMethod(
            QCoreApplication::instance(), [&] { sent = true; }, Qt::QueuedConnection);
    });
    QElapsedTimer since;
    since.start();
    while (!sent && since.elapsed() < 5000) table().send_next_event(table().context, 5000);
    later.join();
    EXPECT_TRUE(sent);
    EXPECT_LT(since.elapsed(), 4000);
}

TEST(HostServices, AWaitForAnEventEndsInTime) {
    quiet();
    QElapsedTimer since;
    since.start();
    EXPECT_EQ(table().send_next_event(table().context, 30), 0);
    EXPECT_GE(since.elapsed(), 29);
}

TEST(HostServices, WithoutTimeThereIsNoWait) {
    quiet();
    EXPECT_EQ(table().send_next_event(table().context, 0), 0);
    EXPECT_EQ(table().send_next_event(table().context, -5), 0);
}

TEST(HostServices, NoOtherThreadSendsEvents) {
    int sent = 1;
    std::thread([&] { sent = table().send_next_event(table().context, 0); }).join();
    EXPECT_EQ(sent, 0);
}

TEST(HostServices, EveryObserverIsNotifiedOnceInOrder) {
    static std::string received;
    const auto observer = [](void* user) { received += static_cast<const char*>(user); };
    static char first[] = "a";
    static char second[] = "b";
    table().observe_termination(table().context, observer, first);
    table().observe_termination(table().context, observer, second);
    table().observe_termination(table().context, nullptr, nullptr);
    EXPECT_EQ(received, "");
    HostServices::shared().terminate();
    HostServices::shared().terminate();
    table().observe_termination(table().context, observer, first);
    HostServices::shared().terminate();
    EXPECT_EQ(received, "ab");
}

}  // namespace
}  // namespace quillmoor::host
