#include "value.h"

#include <algorithm>
#include <cmath>
#include <map>
#include <memory>
#include <utility>
#include <vector>

#include "detail/shared_array.h"
#include "detail/work.h"
#include "errors.h"

namespace mcp_responses {
namespace {

using detail::ArrayHeader;
using detail::Payload;
using detail::ValueOps;
using Elements = detail::SharedArray<Value>;
using Members = detail::SharedArray<Member>;

// The payload of a list or an object of this library is its array, or null if it is empty.

ArrayHeader* array_in(Payload payload) noexcept {
  return static_cast<ArrayHeader*>(payload.pointer);
}

template <class Element>
std::span<const Element> items_in(Payload payload) noexcept {
  const auto* const array = static_cast<detail::SharedArray<Element>*>(array_in(payload));
  return array == nullptr ? std::span<const Element>() : std::span(array->items);
}

void destroy(ArrayHeader* array) noexcept;

template <class Element>
constexpr ValueOps own_container_ops(Kind kind) {
  return {.kind = kind,
          .retain =
              [](Payload payload) noexcept {
                if (ArrayHeader* const array = array_in(payload)) array->owners.add();
              },
          .release =
              [](Payload payload) noexcept {
                ArrayHeader* const array = array_in(payload);
                if (array != nullptr && array->owners.remove()) destroy(array);
              },
          .size = [](Payload payload) noexcept { return items_in<Element>(payload).size(); }};
}

constinit const ValueOps list_ops = own_container_ops<Value>(Kind::list);
constinit const ValueOps object_ops = own_container_ops<Member>(Kind::object);

Value& value_in(Value& element) noexcept { return element; }
Value& value_in(Member& member) noexcept { return member.value; }

/// Destroys an array. If an array in it loses its last owner, that array is not destroyed but added to
/// the list `doomed`.
template <class Array>
void destroy_shallow(Array* array, ArrayHeader*& doomed) noexcept {
  for (auto& item : array->items) {
    Value& value = value_in(item);
    if (&value.ops() != &list_ops && &value.ops() != &object_ops) continue;
    ArrayHeader* const inner = array_in(value.payload());
    if (inner != nullptr && inner->owners.remove()) inner->next = std::exchange(doomed, inner);
    std::construct_at(&value);  // null: its share is removed already
  }
  delete array;
}

/// Destroys an array without owners. The arrays in it are destroyed in a loop, because recursion would
/// need stack for each level of nesting.
void destroy(ArrayHeader* array) noexcept {
  for (ArrayHeader* doomed = array; doomed != nullptr;) {
    ArrayHeader* const first = std::exchange(doomed, doomed->next);
    if (first->has_members) {
      destroy_shallow(static_cast<Members*>(first), doomed);
    } else {
      destroy_shallow(static_cast<Elements*>(first), doomed);
    }
  }
}

bool is_number(Kind kind) {
  return kind == Kind::boolean || kind == Kind::integer || kind == Kind::real;
}

/// Compares exactly, without rounding the integer to a float.
bool equal_number(std::int64_t integer, double real) {
  constexpr double limit = 9223372036854775808.0;  // 2 to the 63rd
  return real >= -limit && real < limit && std::trunc(real) == real &&
         static_cast<std::int64_t>(real) == integer;
}

bool equal_numbers(const Value& a, const Value& b) {
  const auto whole_a = a.whole();
  const auto whole_b = b.whole();
  if (whole_a && whole_b) return *whole_a == *whole_b;
  if (whole_a) return equal_number(*whole_a, *b.real());
  if (whole_b) return equal_number(*whole_b, *a.real());
  return *a.real() == *b.real();
}

/// Two lists or two objects that are to be compared, and the number of containers around each.
struct Pair {
  Value a;
  Value b;
  std::size_t levels;
};

bool equal_texts(const TextView& a, const TextView& b) {
  if (a.size == b.size) detail::count_work(a.size);
  return a == b;
}

/// Compares kinds, sizes, numbers and strings. Adds two lists or objects to `pairs`.
bool equal_shallow(const Value& a, const Value& b, std::size_t levels, std::vector<Pair>& pairs) {
  detail::count_work(detail::element_work);
  if (is_number(a.kind()) && is_number(b.kind())) return equal_numbers(a, b);
  if (a.kind() != b.kind() || a.size() != b.size()) return false;
  if (a.kind() == Kind::string) return equal_texts(*a.view(), *b.view());
  if (!a.is_null()) pairs.push_back({a, b, levels});
  return true;
}

bool equal_lists(const Pair& outer, std::vector<Pair>& pairs) {
  const List a = *outer.a.list();
  const List b = *outer.b.list();
  return std::equal(a.begin(), a.end(), b.begin(), b.end(), [&](const Value& x, const Value& y) {
    return equal_shallow(x, y, outer.levels + 1, pairs);
  });
}

bool equal_objects(const Pair& outer, std::vector<Pair>& pairs) {
  const Object a = *outer.a.object();
  const Object b = *outer.b.object();
  std::map<TextView, const Value*> by_key;
  detail::count_work(detail::element_work * b.size());
  for (const Member& member : b) by_key.emplace(member.key.view(), &member.value);
  // The sizes are compared again, because the conversion of a foreign object may run code that changes
  // the other one.
  return a.size() == b.size() && std::all_of(a.begin(), a.end(), [&](const Member& member) {
           const auto found = by_key.find(member.key.view());
           return found != by_key.end() &&
                  equal_shallow(member.value, *found->second, outer.levels + 1, pairs);
         });
}

}  // namespace

Value::Value(List list) noexcept : Handle(std::move(list)) {}
Value::Value(Object object) noexcept : Handle(std::move(object)) {}

bool Value::truthy() const noexcept {
  if (const auto number = whole()) return *number != 0;
  if (const auto number = real()) return *number != 0;
  if (const auto characters = view()) return characters->size != 0;
  return size().value_or(0) != 0;
}

std::optional<std::int64_t> Value::whole() const noexcept {
  const auto truth = boolean();
  return truth ? std::optional<std::int64_t>(*truth) : integer();
}

std::optional<Text> Value::text() const noexcept {
  if (kind() != Kind::string) return {};
  if (ops().retain != nullptr) ops().retain(payload());
  return Text(ops(), payload());
}

std::optional<List> Value::list() const {
  if (kind() != Kind::list) return {};
  return List(List::FromHandle(), is_foreign() ? ops().materialized(payload()) : *this);
}

std::optional<Object> Value::object() const {
  if (kind() != Kind::object) return {};
  return Object(Object::FromHandle(), is_foreign() ? ops().materialized(payload()) : *this);
}

Value Value::get(const Text& key) const {
  if (kind() != Kind::object) return {};
  return ops().get == nullptr ? Object(Object::FromHandle(), *this).get(key)
                              : ops().get(payload(), key.view());
}

std::span<const Value> Value::elements() const noexcept {
  assert(kind() == Kind::list && !is_foreign());
  return items_in<Value>(payload());
}

std::span<const Member> Value::members() const noexcept {
  assert(kind() == Kind::object && !is_foreign());
  return items_in<Member>(payload());
}

std::optional<std::size_t> Value::size() const noexcept {
  if (kind() != Kind::list && kind() != Kind::object) return {};
  return ops().size(payload());
}

bool operator==(const Value& a, const Value& b) {
  // An explicit stack, because values may be nested deeply.
  std::vector<Pair> pairs;
  bool are_equal = equal_shallow(a, b, 0, pairs);
  while (are_equal && !pairs.empty()) {
    const Pair pair = std::move(pairs.back());
    pairs.pop_back();
    check_nesting(pair.levels);
    are_equal = pair.a.kind() == Kind::list ? equal_lists(pair, pairs) : equal_objects(pair, pairs);
  }
  return are_equal;
}

template <class Element>
std::span<const Element> Container<Element>::items() const noexcept {
  return items_in<Element>(payload());
}

template <class Element>
std::vector<Element>& Container<Element>::writable() {
  using Array = detail::SharedArray<Element>;
  Array* const array = Array::writable(static_cast<Array*>(array_in(payload())));
  set_payload({.pointer = static_cast<ArrayHeader*>(array)});
  return array->items;
}

template <class Element>
void Container<Element>::reserve(std::size_t more) {
  std::vector<Element>& items = writable();
  items.reserve(items.size() + more);
}

template class Container<Value>;
template class Container<Member>;

List::List() noexcept : Container(list_ops, Payload{.pointer = nullptr}) {}

List List::repeated(std::size_t count, const Value& element) {
  List list;
  list.reserve(count);
  while (list.size() < count) list.append(element);
  return list;
}

void List::set(std::size_t position, Value element) {
  assert(position < size());
  writable()[position] = std::move(element);
}
void List::append(Value element) { writable().push_back(std::move(element)); }
void List::remove_last() { writable().pop_back(); }

void List::extend(const List& other) {
  // NOLINTNEXTLINE(performance-unnecessary-copy-initialization): `other` may be this list
  const List elements = other;
  reserve(elements.size());
  for (const Value& element : elements) append(element);
}

List List::first(std::size_t count) const {
  List list;
  for (const Value& element : items().first(std::min(count, size()))) list.append(element);
  return list;
}

Object::Object() noexcept : Container(object_ops, Payload{.pointer = nullptr}) {}

Object::Object(std::initializer_list<Member> members) : Object() {
  reserve(members.size());
  for (const Member& member : members) set(member.key, member.value);
}

const Member* Object::find(const Text& key) const noexcept {
  const TextView wanted = key.view();
  for (const Member& member : items()) {
    if (member.key.view() == wanted) return &member;
  }
  return nullptr;
}

Value Object::get(const Text& key, const Value& fallback) const noexcept {
  const Member* member = find(key);
  return member == nullptr ? fallback : member->value;
}

List Object::keys() const {
  List keys;
  keys.reserve(size());
  for (const Member& member : items()) keys.append(member.key);
  return keys;
}

void Object::set(const Text& key, Value value) {
  const Member* member = find(key);
  if (member == nullptr) return add(key, std::move(value));
  const auto position = member - items().data();
  writable()[static_cast<std::size_t>(position)].value = std::move(value);
}

void Object::add(Text key, Value value) {
  writable().push_back({std::move(key), std::move(value)});
}

void Object::update(const Object& other) {
  // NOLINTNEXTLINE(performance-unnecessary-copy-initialization): `other` may be this object
  const Object members = other;
  for (const Member& member : members) set(member.key, member.value);
}

}  // namespace mcp_responses
