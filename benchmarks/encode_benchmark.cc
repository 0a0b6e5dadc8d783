// Measures encoding a tree in memory as JSON, with this library and with RapidJSON's and nlohmann's
// writers:
//   encode_benchmark FILE... [OPTIONS OF GOOGLE BENCHMARK]
// Each file contains one JSON text in compact form. The output of each writer must parse to the same
// value.
#include <benchmark/benchmark.h>

#include <nlohmann/json.hpp>

#if defined(__SSE2__)
#define RAPIDJSON_SSE2
#elif defined(__ARM_NEON)
#define RAPIDJSON_NEON
#endif
#include <rapidjson/document.h>
#include <rapidjson/rapidjson.h>
#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

#include <cstdint>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>

#include "encode.h"
#include "value.h"

namespace {

using Json = nlohmann::ordered_json;
using mcp_responses::List;
using mcp_responses::Object;
using mcp_responses::Text;
using mcp_responses::Value;

Value value_of(const Json& json);

Value list_of(const Json& json) {
  List list;
  for (const Json& element : json) list.append(value_of(element));
  return list;
}

Value object_of(const Json& json) {
  Object object;
  for (const auto& [key, member] : json.items()) object.add(Text(key), value_of(member));
  return object;
}

Value value_of(const Json& json) {
  switch (json.type()) {
    case Json::value_t::boolean:
      return json.get<bool>();
    case Json::value_t::number_integer:
    case Json::value_t::number_unsigned:
      return json.get<std::int64_t>();
    case Json::value_t::number_float:
      return json.get<double>();
    case Json::value_t::string:
      return Value(json.get_ref<const std::string&>());
    case Json::value_t::array:
      return list_of(json);
    case Json::value_t::object:
      return object_of(json);
    default:
      return {};
  }
}

rapidjson::StringBuffer rapidjson_write(const rapidjson::Document& document) {
  rapidjson::StringBuffer buffer;
  rapidjson::Writer<rapidjson::StringBuffer> writer(buffer);
  document.Accept(writer);
  return buffer;
}

std::string_view view(const std::string& written) { return written; }
std::string_view view(const rapidjson::StringBuffer& written) {
  return {written.GetString(), written.GetSize()};
}
std::string view(const Text& written) { return written.utf8(); }

/// Compares values, not texts: RapidJSON's floats have a digit more than necessary in rare cases.
template <class Written>
bool represents(const Written& written, const Json& json, std::size_t) {
  return Json::parse(view(written)) == json;
}
bool represents(std::size_t counted, const Json&, std::size_t size) { return counted == size; }

template <class Write>
void add(const std::string& name, const Json& json, std::size_t size, Write write) {
  benchmark::RegisterBenchmark(name.c_str(), [=](benchmark::State& state) {
    if (!represents(write(), json, size)) state.SkipWithError("the output differs");
    for (auto _ : state) {
      auto written = write();
      benchmark::DoNotOptimize(written);
    }
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(size));
  });
}

void add_all(const std::string& name, const std::string& text) {
  const Json json = Json::parse(text);
  const auto document = std::make_shared<rapidjson::Document>();
  document->Parse<rapidjson::kParseFullPrecisionFlag>(text.data(), text.size());
  const Value value = value_of(json);
  const std::size_t size = text.size();
  add(name + "/text", json, size, [value] { return mcp_responses::tool_result_text(value); });
  add(name + "/size", json, size, [value] { return mcp_responses::encoded_size(value); });
  add(name + "/RapidJSON", json, size, [document] { return rapidjson_write(*document); });
  add(name + "/nlohmann", json, size, [json] { return json.dump(); });
}

std::string content(const char* path) {
  std::ifstream file(path, std::ios::binary);
  if (!file) throw std::runtime_error(std::string("cannot read ") + path);
  return {std::istreambuf_iterator<char>(file), {}};
}

}  // namespace

int main(int argc, char** argv) try {
  benchmark::Initialize(&argc, argv);
  for (int i = 1; i < argc; ++i) add_all(std::filesystem::path(argv[i]).stem(), content(argv[i]));
  benchmark::AddCustomContext("RapidJSON", RAPIDJSON_VERSION_STRING);
  benchmark::AddCustomContext("nlohmann", Json::meta()["version"]["string"]);
  benchmark::RunSpecifiedBenchmarks();
} catch (const std::exception& error) {
  std::cerr << "encode_benchmark: " << error.what() << "\n";
  return 1;
}
