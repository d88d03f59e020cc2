// The lines of nuvctl watch and the signals that the simulator declares.
#include <gtest/gtest.h>

#include <memory>
#include <nlohmann/json.hpp>

#include "service/watch_lines.h"
#include "temp_dir.h"

namespace {

GVariant* AnyValue(const std::string& type) {
  if (type == "b") return g_variant_new_boolean(TRUE);
  if (type == "u") return g_variant_new_uint32(7);
  return type == "s" ? g_variant_new_string("text") : g_variant_new_int32(7);
}

// Arguments as the signal declares them; sunk.
std::shared_ptr<GVariant> AnyArguments(const GDBusSignalInfo& signal) {
  GVariantBuilder builder;
  g_variant_builder_init(&builder, G_VARIANT_TYPE_TUPLE);
  for (GDBusArgInfo** arg = signal.args; arg != nullptr && *arg != nullptr; ++arg) {
    g_variant_builder_add_value(&builder, AnyValue((*arg)->signature));
  }
  return {g_variant_ref_sink(g_variant_builder_end(&builder)), g_variant_unref};
}

}  // namespace

TEST(WatchLines, EachSignalOfTheSimulatorHasALineWithAllItsArguments) {
  const std::string xml = ReadFile(NUV_SOURCE_DIR "/data/org.kelvo.tv.NuvSimulator1.xml");
  const std::unique_ptr<GDBusNodeInfo, decltype(&g_dbus_node_info_unref)> node(
      g_dbus_node_info_new_for_xml(xml.c_str(), nullptr), g_dbus_node_info_unref);
  ASSERT_NE(node, nullptr);
  EXPECT_STREQ(node->path, kSimulatorPath);
  const GDBusInterfaceInfo* interface = g_dbus_node_info_lookup_interface(node.get(), kSimulatorInterface);
  ASSERT_NE(interface, nullptr);
  ASSERT_NE(interface->signals, nullptr);
  for (GDBusSignalInfo** signal = interface->signals; *signal != nullptr; ++signal) {
    const auto arguments = AnyArguments(**signal);
    const auto line = LineOfSignal((*signal)->name, arguments.get());
    ASSERT_TRUE(line) << (*signal)->name;
    size_t values = 0;
    const auto json = nlohmann::json::parse(ToJson(line->fields));
    for (const auto& item : json) values += item == "text" || item == 7 || item == true ? 1 : 0;
    EXPECT_EQ(values, g_variant_n_children(arguments.get())) << (*signal)->name;
  }
}
