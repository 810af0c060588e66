// The table of selectors, the classes and the tests agree.
#include <algorithm>
#include <fstream>
#include <iterator>
#include <map>
#include <set>
#include <sstream>
#include <vector>

#include "tests/objc/objc_support.h"
#include "tests/objc/types.h"

#include <objc/runtime.h>

namespace quillmoor::test {
namespace {

// One line of the table.
struct Entry {
    bool isClassMethod = false;
    std::string className;
    std::string selector;
    std::vector<std::string> types;  // the result's, then those of the arguments

    std::string name() const {
        return (isClassMethod ? "+[" : "-[") + className + " " + selector + "]";
    }
    std::string suite() const { return className + (isClassMethod ? "" : "Object"); }
    std::string test() const {
        std::string name = selector;
        std::replace(name.begin(), name.end(), ':', '_');
        return name;
    }
    Class cls() const { return objc_getClass(className.c_str()); }
    Method method() const {
        const SEL sel = sel_registerName(selector.c_str());
        return isClassMethod ? class_getClassMethod(cls(), sel)
                             : class_getInstanceMethod(cls(), sel);
    }
};

std::vector<Entry> table() {
    std::vector<Entry> entries;
    std::ifstream file(KX_SELECTORS);
    for (std::string line; std::getline(file, line);) {
        if (line.empty() || line.front() == '#') continue;
        std::istringstream fields(line);
        Entry entry;
        std::string kind;
        fields >> kind >> entry.className >> entry.selector;
        entry.isClassMethod = kind == "+";
        entry.types.assign(std::istream_iterator<std::string>(fields), {});
        entries.push_back(entry);
    }
    return entries;
}

// Those that the class defines itself, its categories included.
std::set<std::string> methodsOf(Class cls) {
    std::set<std::string> names;
    unsigned count = 0;
    Method* methods = class_copyMethodList(cls, &count);
    for (unsigned i = 0; i < count; ++i) names.insert(sel_getName(method_getName(methods[i])));
    std::free(methods);
    // What the compiler adds for members of C++.
    std::erase_if(names, [](const std::string& name) { return name.front() == '.'; });
    return names;
}

std::vector<std::string> typesOf(Method method) {
    NSMethodSignature* signature =
        [NSMethodSignature signatureWithObjCTypes:method_getTypeEncoding(method)];
    std::vector<std::string> types{plainType([signature methodReturnType])};
    for (NSUInteger i = 2; i < [signature numberOfArguments]; ++i)
        types.push_back(plainType([signature getArgumentTypeAtIndex:i]));
    return types;
}

}  // namespace

TEST(SelectorTable, HasEntries) {
    EXPECT_GT(table().size(), 20U);
}

TEST(SelectorTable, NamesSelectorsThatTheClassesRespondTo) {
    for (const Entry& entry : table()) {
        ASSERT_NE(entry.cls(), Nil) << entry.className;
        EXPECT_NE(entry.method(), nullptr) << entry.name();
    }
}

TEST(SelectorTable, HasTheTypesOfTheMethods) {
    for (const Entry& entry : table()) {
        if (entry.method() == nullptr) continue;
        std::vector<std::string> encodings;
        for (const std::string& type : entry.types) encodings.push_back(encodingOf(type));
        EXPECT_EQ(typesOf(entry.method()), encodings) << entry.name();
    }
}

TEST(SelectorTable, LacksNoMethodOfItsClasses) {
    std::map<std::string, std::set<std::string>> listed[2];
    for (const Entry& entry : table())
        listed[entry.isClassMethod][entry.className].insert(entry.selector);
    for (const auto& [name, selectors] : listed[true]) {
        const Class cls = objc_getClass(name.c_str());
        EXPECT_EQ(methodsOf(object_getClass(cls)), selectors) << "+ " << name;
        EXPECT_EQ(methodsOf(cls), listed[false][name]) << "- " << name;
    }
}

TEST(SelectorTable, HasATestForEachSelector) {
    std::set<std::string> tests;
    const ::testing::UnitTest& all = *::testing::UnitTest::GetInstance();
    for (int i = 0; i < all.total_test_suite_count(); ++i) {
        const ::testing::TestSuite& suite = *all.GetTestSuite(i);
        for (int j = 0; j < suite.total_test_count(); ++j)
            tests.insert(std::string(suite.name()) + "." + suite.GetTestInfo(j)->name());
    }
    for (const Entry& entry : table())
        EXPECT_TRUE(tests.contains(entry.suite() + "." + entry.test())) << entry.name();
}

}  // namespace quillmoor::test
