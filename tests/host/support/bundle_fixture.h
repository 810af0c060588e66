// Loads bundles of the tests' plug-in in this process.
#pragma once

#include <gtest/gtest.h>

#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

#include "host/ground/host_error.h"
#include "host/plugin/bundle_loader.h"
#include "tests/host/support/bundle_maker.h"
#include "tests/support/temp_folder.h"

namespace quillmoor::host {

class BundleFixture : public ::testing::Test {
  protected:
    void SetUp() override { ::setenv("INSTALLER_TEST_RECORD", (folder_ / "record").c_str(), 1); }
    void TearDown() override { ::unsetenv("INSTALLER_TEST_REFUSE"); }

    std::unique_ptr<PluginPane> load(const std::string& bundle, const QStringList& languages = {}) {
        return loadBundle(bundle, {languages, transcript_,
                                   [this](PluginPane&, Direction way) { wishes_.push_back(way); }});
    }
    // Why a bundle cannot be loaded; "" if it can.
    std::string errorOf(const test::BundleParts& parts) {
        try {
            load(makeBundle(folder_, "X.bundle", parts));
        } catch (const HostError& error) {
            return error.what();
        }
        return "";
    }
    static test::BundleParts whole() {
        test::BundleParts parts;
        parts.interfaceFile = test::interfaceFor("Shows");
        return parts;
    }
    // The calls that the plug-in has recorded.
    std::vector<std::string> record() const { return test::linesOf(folder_ / "record"); }

    test::TempFolder folder_;
    Transcript transcript_{folder_ / "transcript"};
    std::vector<Direction> wishes_;
};

}  // namespace quillmoor::host
