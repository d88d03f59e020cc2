#include "nuv_launcher_api/nuv_launch_request.h"

#include <nuv_common/nuv_log.h>

#include <cstring>
#include <vector>

#include "nuv_common/nuv_call_arguments.h"

namespace {

// The method name under which the service echoes the request back.
constexpr const char* kMethodName = "nuv_launch_app";

// One extra datum travels as a fixed block: the key in its first half, the value in its second, each ended by a zero.
constexpr unsigned int kBlockSize = 1024;
constexpr unsigned int kHalf = kBlockSize / 2;

using Member = std::string _NUV_LAUNCHER_DATA::*;
using Flag = uint8_t _NUV_LAUNCHER_DATA::*;

// The record's texts and flags in the order of the request.
constexpr Member kTexts[] = {
    &_NUV_LAUNCHER_DATA::appId,           &_NUV_LAUNCHER_DATA::payload, &_NUV_LAUNCHER_DATA::uri,
    &_NUV_LAUNCHER_DATA::callerId,        &_NUV_LAUNCHER_DATA::entry,   &_NUV_LAUNCHER_DATA::relocateBelowApp,
    &_NUV_LAUNCHER_DATA::launchRequestor,
};
constexpr Flag kFlagsBeforeShape[] = {
    &_NUV_LAUNCHER_DATA::bForceLaunch, &_NUV_LAUNCHER_DATA::bPreLoad, &_NUV_LAUNCHER_DATA::bOption1,
    &_NUV_LAUNCHER_DATA::bOption2,     &_NUV_LAUNCHER_DATA::bOption3, &_NUV_LAUNCHER_DATA::bOption4,
};
constexpr Flag kFlagsAfterShape[] = {
    &_NUV_LAUNCHER_DATA::bDeepLink,
    &_NUV_LAUNCHER_DATA::bExtraOption,
    &_NUV_LAUNCHER_DATA::bBackground,
    &_NUV_LAUNCHER_DATA::bSkipPIN,
};

GVariant* MakeExtraDataBlock(const std::string& key, const std::string& value) {
  char block[kBlockSize];
  NUVMem::Set(block, 0, kBlockSize);
  NUVString::Copy(block, key.c_str(), kHalf - 1);
  NUVString::Copy(block + kHalf, value.c_str(), kHalf - 1);
  GVariant* array = g_variant_new_fixed_array(G_VARIANT_TYPE_BYTE, block, kBlockSize, 1);
  NUV_INFO("extraDatas,key: %s, value: %s", key.c_str(), value.c_str());
  return array;
}

GVariant* MakeExtraDatas(const NuvExtraDatas& extraDatas) {
  NUV_INFO("[nuv_launch_app_client],extraDatas: size=%zu", extraDatas.size());
  if (extraDatas.empty()) {
    NUV_ERROR("extraDatas is empty.");
    return g_variant_new_array(G_VARIANT_TYPE_BYTESTRING, nullptr, 0);
  }
  std::vector<GVariant*> blocks;
  blocks.reserve(extraDatas.size());
  for (const auto& [key, value] : extraDatas) blocks.push_back(MakeExtraDataBlock(key, value));
  NUV_INFO("test,fixed array idx:%d", static_cast<int>(blocks.size()));
  return g_variant_new_array(G_VARIANT_TYPE_BYTESTRING, blocks.data(), blocks.size());
}

}  // namespace

void* NUVMem::Set(void* dest, int value, unsigned int size) {
  if (dest == nullptr) {
    NUV_ERROR("dest is false");
    return dest;
  }
  return memset(dest, value, size);
}

char* NUVString::Copy(char* dest, const char* src, unsigned int size) {
  if (dest == nullptr) {
    NUV_ERROR("dest is false");
    return dest;
  }
  if (src == nullptr) {
    NUV_ERROR("source is false");
    return dest;
  }
  return strncpy(dest, src, size);
}

GVariant* MakeLaunchRequest(const CNUVGdbus::Endpoint& endpoint, const _NUV_LAUNCHER_DATA& data, int32_t event) {
  CallArguments arguments;
  arguments.Text(endpoint.objectName.c_str()).Number(endpoint.listenerId);
  for (const Member text : kTexts) arguments.Text((data.*text).c_str());
  arguments.Number(event).Text(kMethodName);
  for (const Flag flag : kFlagsBeforeShape) arguments.Number(data.*flag);
  arguments.Number(data.cbType);
  for (const Flag flag : kFlagsAfterShape) arguments.Number(data.*flag);
  arguments.Value(MakeExtraDatas(data.extraDatas), data.extraDatas.size() * (kBlockSize + sizeof(uint32_t)));
  GVariant* tuple = arguments.TakeTuple();
  if (tuple == nullptr) NUV_ERROR("launch_app: %s", arguments.Problem());
  NUV_INFO("g_variant_new_tuple finish.");
  return tuple;
}
