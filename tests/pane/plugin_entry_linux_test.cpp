// The plug-in's two entry functions, in a copy that is not attached to a host yet.
#include <dlfcn.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <list>
#include <stdexcept>
#include <thread>
#include <vector>

#include "quillmoor/pane/installer_plugin.h"
#include "tests/host/support/version_check.h"

namespace quillmoor {
namespace {

using ::testing::SizeIs;

// A host with an event loop that is never run.
struct IdleHost {
    installer_host_services table{
        INSTALLER_PLUGIN_VERSION, this, isMainThread, watch, sendNextEvent, observe};
    std::thread::id mainThread = std::this_thread::get_id();
    std::vector<int> watched;
    int observers = 0;

    static IdleHost& of(void* context) { return *static_cast<IdleHost*>(context); }
    static int isMainThread(void* context) {
        return of(context).mainThread == std::this_thread::get_id() ? 1 : 0;
    }
    static void watch(void* context, int descriptor, void (*)(void*), void*) {
        of(context).watched.push_back(descriptor);
    }
    static int sendNextEvent(void*, int) { return 0; }
    static void observe(void* context, void (*)(void*), void*) { ++of(context).observers; }
};

// Kept until the process exits, as the plug-in is.
IdleHost& newHost() {
    static auto& hosts = *new std::list<IdleHost>;
    return hosts.emplace_back();
}

class PluginEntry : public ::testing::Test {
  protected:
    PluginEntry() {
        computer_.use();
        const std::string file =
            computer_.bundleWithoutArchive() + "/Contents/Linux/VersionCheck.so";
        library_ = ::dlopen(file.c_str(), RTLD_NOW | RTLD_LOCAL);
        if (library_ == nullptr) throw std::runtime_error(::dlerror());
    }
    int attach(const installer_host_services* services) {
        return function<decltype(installer_plugin_attach)>("installer_plugin_attach")(services);
    }
    int createPane(const char* className) {
        return function<decltype(installer_plugin_create_pane)>("installer_plugin_create_pane")(
            className, &paneHost_, &pane_);
    }

    test::Computer computer_;
    IdleHost& host_ = newHost();
    installer_pane_host paneHost_{};
    installer_pane pane_{};

  private:
    template <typename Function>
    Function* function(const char* name) {
        return reinterpret_cast<Function*>(::dlsym(library_, name));
    }
    void* library_ = nullptr;
};

TEST_F(PluginEntry, ConnectsItsRunLoopAndItsTerminationToTheHost) {
    EXPECT_EQ(attach(&host_.table), 1);
    ASSERT_THAT(host_.watched, SizeIs(2));
    EXPECT_NE(host_.watched[0], host_.watched[1]);
    EXPECT_EQ(host_.observers, 1);
}

TEST_F(PluginEntry, AcceptsAHostOfALaterVersion) {
    ++host_.table.version;
    EXPECT_EQ(attach(&host_.table), 1);
}

TEST_F(PluginEntry, RefusesAHostOfAnEarlierVersion) {
    --host_.table.version;
    EXPECT_EQ(attach(&host_.table), 0);
    EXPECT_EQ(attach(nullptr), 0);
    EXPECT_THAT(host_.watched, SizeIs(0));
}

TEST_F(PluginEntry, HasNoPaneOfAnotherClass) {
    attach(&host_.table);
    for (const char* name : {"", "RK_MessageViewPan", "RK_MessageViewPane2"}) {
        EXPECT_EQ(createPane(name), 0) << name;
        EXPECT_EQ(pane_.context, nullptr) << name;
    }
}

// An exception must not cross the boundary: the host is not prepared for one.
TEST_F(PluginEntry, ContainsWhatIsThrownBehindIt) {
    attach(&host_.table);
    paneHost_.goto_next_pane = [](void*) { throw std::runtime_error("next"); };
    paneHost_.goto_previous_pane = [](void*) { throw std::runtime_error("previous"); };
    ASSERT_EQ(createPane("RK_MessageViewPane"), 1);
    EXPECT_NO_THROW(pane_.did_enter_pane(pane_.context, 0));
    EXPECT_NO_THROW(pane_.did_enter_pane(pane_.context, 1));
    installer_control control{nullptr, [](void*, int) { throw 1; }};
    EXPECT_EQ(pane_.set_outlet(pane_.context, "titleText", &control), 1);
    computer_.install();
    EXPECT_NO_THROW(pane_.did_enter_pane(pane_.context, 0));
    EXPECT_EQ(pane_.should_exit_pane(pane_.context, 0), 1);
    pane_.destroy(pane_.context);
}

TEST_F(PluginEntry, PerformsItsActionWithAndWithoutASender) {
    attach(&host_.table);
    ASSERT_EQ(createPane("RK_MessageViewPane"), 1);
    installer_control sender{nullptr, [](void*, int) {}};
    EXPECT_EQ(pane_.perform_action(pane_.context, "uninstall:", &sender), 1);
    EXPECT_EQ(pane_.perform_action(pane_.context, "uninstall:", nullptr), 1);
    pane_.destroy(pane_.context);
}

}  // namespace
}  // namespace quillmoor
