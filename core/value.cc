#include "value.h"

#include <cmath>
#include <limits>
#include <map>
#include <memory>
#include <utility>
#include <vector>

#include "detail/containers.h"
#include "detail/shared_array.h"
#include "errors.h"

namespace mcp_responses {
namespace {

using Elements = SharedArray<Value>;
using Members = SharedArray<Member>;

template <class Storage>
Storage* storage_in(Payload payload) noexcept {
  return static_cast<Storage*>(const_cast<void*>(payload.pointer));
}

template <class Storage>
auto items_in(Payload payload) noexcept {
  const Storage* const storage = storage_in<Storage>(payload);
  using Items = decltype(std::span(storage->items(), storage->size()));
  return storage == nullptr ? Items() : Items(storage->items(), storage->size());
}

/// A list or an object of this library's own, by how it is held.
struct Container {
  const ValueOps* ops;
  Payload payload;
};
void remove(Container doomed) noexcept;

/// How this library holds its own lists and objects.
template <class Storage, const ValueOps& self>
constexpr ValueOps ops_of(Kind kind) {
  return {.kind = kind,
          .retain = [](Payload payload) noexcept { Storage::retain(storage_in<Storage>(payload)); },
          .release =
              [](Payload payload) noexcept {
                if (Storage::give_up(storage_in<Storage>(payload))) remove({&self, payload});
              },
          .size = [](Payload payload) noexcept -> std::size_t {
            return payload.pointer == nullptr ? 0 : storage_in<Storage>(payload)->size();
          }};
}

extern const ValueOps list_ops;
extern const ValueOps object_ops;
constinit const ValueOps list_ops = ops_of<Elements, list_ops>(Kind::list);
constinit const ValueOps object_ops = ops_of<Members, object_ops>(Kind::object);

Value& value_in(Value& element) noexcept { return element; }
Value& value_in(Member& member) noexcept { return member.value; }

bool is_container(const Value& value) noexcept {
  return &value.ops() == &list_ops || &value.ops() == &object_ops;
}

/// Calls `visitor` with the container's storage.
template <class Visitor>
auto visit_storage(const Container& container, Visitor visitor) noexcept {
  return container.ops == &list_ops ? visitor(storage_in<Elements>(container.payload))
                                    : visitor(storage_in<Members>(container.payload));
}

/// Destroys what stands behind the last container in this one, which it returns, or everything and
/// the storage: then it returns null.
Value* removed_to_last_container(const Container& doomed) noexcept {
  return visit_storage(doomed, [](auto* storage) -> Value* {
    for (; storage->size() > 0; storage->remove_last()) {
      Value& last = value_in(storage->last());
      if (is_container(last)) return &last;
    }
    storage->free();
    return nullptr;
  });
}

/// Gives up a container's share in one that stands in it; true when that was the last.
bool give_up(const Container& container) noexcept {
  return visit_storage(container, [](auto* storage) { return storage->give_up(storage); });
}

/// Frees a container that has lost its last owner, and those inside it that lose theirs by that.
/// Depth costs no stack: on the way down, the place of a container in the one around it remembers
/// the way back up.
void remove(Container doomed) noexcept {
  Container around{&null_ops, {.pointer = nullptr}};
  for (;;) {
    if (Value* const last = removed_to_last_container(doomed)) {
      const Container inside{&last->ops(), last->payload()};
      if (give_up(inside)) {
        std::construct_at(last, *around.ops, around.payload);
        around = std::exchange(doomed, inside);
      } else {
        std::construct_at(last);
      }
    } else {
      if (around.ops == &null_ops) return;
      doomed = around;
      Value* const place =
          visit_storage(doomed, [](auto* storage) -> Value* { return &value_in(storage->last()); });
      around = {&place->ops(), place->payload()};
      std::construct_at(place);
    }
  }
}

bool is_number(Kind kind) {
  return kind == Kind::boolean || kind == Kind::integer || kind == Kind::real;
}

/// Exact: the integer is never rounded to a float.
bool equal(std::int64_t integer, double real) {
  constexpr double limit = 9223372036854775808.0;  // 2 to the 63rd
  return real >= -limit && real < limit && std::trunc(real) == real &&
         static_cast<std::int64_t>(real) == integer;
}

bool equal_numbers(const Value& a, const Value& b) {
  const auto real_a = a.real();
  const auto real_b = b.real();
  if (real_a && real_b) return *real_a == *real_b;
  if (real_a) return equal(*b.whole(), *real_a);
  if (real_b) return equal(*a.whole(), *real_b);
  return *a.whole() == *b.whole();
}

/// Two values still to be compared, and how many containers stand around each.
struct Pair {
  Value a;
  Value b;
  std::size_t levels = 0;
};

/// Equal as far as can be told without looking into a list or an object.
bool same_outside(const Value& a, const Value& b) {
  if (is_number(a.kind()) && is_number(b.kind())) return equal_numbers(a, b);
  if (a.kind() != b.kind()) return false;
  if (a.kind() != Kind::string) return a.size() == b.size();
  return *a.view() == *b.view();
}

/// Adds the pairs that two lists or objects of the same size consist of. A key that one of them
/// lacks is paired with nothing that is equal.
void add_contents(const Pair& outside, std::vector<Pair>& contents) {
  if (outside.levels == NestingError::max_levels) throw NestingError();
  const std::size_t levels = outside.levels + 1;
  if (outside.a.kind() == Kind::list) {
    const List a = *outside.a.list();
    const List b = *outside.b.list();
    for (std::size_t i = 0; i < a.size(); ++i) contents.push_back({a[i], b[i], levels});
    return;
  }
  const Object a = *outside.a.object();
  const Object b = *outside.b.object();
  std::map<TextView, const Value*> by_key;
  for (const Member& member : b) by_key.emplace(member.key.view(), &member.value);
  const Value unequal = std::numeric_limits<double>::quiet_NaN();
  for (const Member& member : a) {
    const auto found = by_key.find(member.key.view());
    contents.push_back({member.value, found == by_key.end() ? unequal : *found->second, levels});
  }
}

}  // namespace

Value::Value(List list) noexcept : Handle(std::move(list)) {}
Value::Value(Object object) noexcept : Handle(std::move(object)) {}

bool Value::truthy() const noexcept {
  switch (kind()) {
    case Kind::null:
      return false;
    case Kind::boolean:
      return payload().boolean;
    case Kind::integer:
      return ops().integer(payload()) != 0;
    case Kind::real:
      return payload().real != 0;
    case Kind::string:
      return ops().text(payload()).size != 0;
    case Kind::list:
    case Kind::object:
      return ops().size(payload()) != 0;
  }
  return false;
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
  return ops().materialized == nullptr ? List(*this) : List(ops().materialized(payload()));
}

std::optional<Object> Value::object() const {
  if (kind() != Kind::object) return {};
  return ops().materialized == nullptr ? Object(*this) : Object(ops().materialized(payload()));
}

Value Value::get(const Text& key) const {
  if (kind() != Kind::object) return {};
  return ops().get == nullptr ? Object(*this).get(key) : ops().get(payload(), key.view());
}

std::optional<std::size_t> Value::size() const noexcept {
  if (kind() != Kind::list && kind() != Kind::object) return {};
  return ops().size(payload());
}

bool operator==(const Value& a, const Value& b) {
  if (!same_outside(a, b)) return false;
  if (!a.size()) return true;
  // The pairs still to be compared stand in a list of their own: depth costs no stack.
  std::vector<Pair> pairs;
  add_contents({a, b}, pairs);
  while (!pairs.empty()) {
    const Pair pair = std::move(pairs.back());
    pairs.pop_back();
    if (!same_outside(pair.a, pair.b)) return false;
    if (pair.a.size()) add_contents(pair, pairs);
  }
  return true;
}

List::List() noexcept : Handle(list_ops, Payload{.pointer = nullptr}) {}

List::List(std::initializer_list<Value> elements) : List() {
  reserve(elements.size());
  for (const Value& element : elements) append(element);
}

List List::repeated(std::size_t count, const Value& element) {
  List list;
  list.reserve(count);
  for (std::size_t i = 0; i < count; ++i) list.append(element);
  return list;
}

std::span<const Value> elements_of(const Handle& list) noexcept {
  return items_in<Elements>(list.payload());
}

std::span<const Member> members_of(const Handle& object) noexcept {
  return items_in<Members>(object.payload());
}

std::span<const Value> List::items() const noexcept { return elements_of(*this); }

List::Storage& List::writable(std::size_t more) {
  Storage* storage = Storage::writable(storage_in<Storage>(payload()), more);
  set_payload({.pointer = storage});
  return *storage;
}

void List::set(std::size_t position, Value element) {
  writable(0).items()[position] = std::move(element);
}
void List::append(Value element) { writable(1).add(std::move(element)); }
void List::remove_last() { writable(0).remove_last(); }
void List::reserve(std::size_t more) { writable(more); }

void List::extend(const List& other) {
  // NOLINTNEXTLINE(performance-unnecessary-copy-initialization): it may be this very list
  const List elements = other;
  reserve(elements.size());
  for (const Value& element : elements) append(element);
}

List List::first(std::size_t count) const {
  List list;
  list.reserve(std::min(count, size()));
  for (const Value& element : items().first(std::min(count, size()))) list.append(element);
  return list;
}

Object::Object() noexcept : Handle(object_ops, Payload{.pointer = nullptr}) {}

Object::Object(std::initializer_list<Member> members) : Object() {
  reserve(members.size());
  for (const Member& member : members) set(member.key, member.value);
}

std::span<const Member> Object::items() const noexcept { return members_of(*this); }

const Member* Object::find(const Text& key) const noexcept {
  // A fixed word is most likely there as that very word.
  for (const Member& member : items()) {
    if (&member.key.ops() == &literal_ops && member.key.payload().pointer == key.payload().pointer)
      return &member;
  }
  const TextView wanted = key.view();
  for (const Member& member : items()) {
    if (member.key.view() == wanted) return &member;
  }
  return nullptr;
}

Object::Storage& Object::writable(std::size_t more) {
  Storage* storage = Storage::writable(storage_in<Storage>(payload()), more);
  set_payload({.pointer = storage});
  return *storage;
}

Value Object::get(const Text& key, const Value& otherwise) const noexcept {
  const Member* member = find(key);
  return member == nullptr ? otherwise : member->value;
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
  writable(0).items()[position].value = std::move(value);
}

void Object::add(Text key, Value value) {
  writable(1).add(Member{std::move(key), std::move(value)});
}

void Object::add_known(Text key, Value value) {
  if (!value.is_null()) add(std::move(key), std::move(value));
}

void Object::update(const Object& other) {
  // NOLINTNEXTLINE(performance-unnecessary-copy-initialization): it may be this very object
  const Object members = other;
  for (const Member& member : members) set(member.key, member.value);
}

void Object::reserve(std::size_t more) { writable(more); }

}  // namespace mcp_responses
