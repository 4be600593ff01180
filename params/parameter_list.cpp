#include "params/parameter_list.h"

#include <algorithm>
#include <iterator>

#include "platform/qxutils/qx_exception.h"
#include "platform/resource_loader.h"

namespace qxdbsqlengine {

namespace {

constexpr int kNameIsMandatory = 123;
constexpr int kDuplicatedName = 124;

}  // namespace

ParameterList::ParameterList() = default;
ParameterList::~ParameterList() = default;

ParameterList::ParameterList(const ParameterList& other) {
    *this = other;
}

ParameterList& ParameterList::operator=(const ParameterList& other) {
    if (this == &other)
        return *this;
    // A new list and not element by element: assigning a parameter would keep the old name and type.
    std::list<Parameter> copies(other.parameters);
    parameters.swap(copies);
    bindMethod = other.bindMethod;
    return *this;
}

void ParameterList::SetBindMethod(BindMethod method) {
    bindMethod = method;
    if (method == BindByName)
        forceBindByOrdinal = false;
}

ParameterList::BindMethod ParameterList::GetBindMethod() const {
    return bindMethod;
}

void ParameterList::SetForceBindByOrdinal(bool force) {
    forceBindByOrdinal = force;
}

bool ParameterList::GetForceBindByOrdinal() const {
    return forceBindByOrdinal;
}

void ParameterList::PushBack(const Parameter& parameter) {
    if (bindMethod == BindByName) {
        const std::string& name = parameter.GetName();
        if (name.empty())
            throw qxutils::QXException(ResourceLoader::LoadString(kNameIsMandatory));
        if (std::any_of(parameters.begin(), parameters.end(),
                        [&name](const Parameter& other) { return other.GetName() == name; }))
            throw qxutils::QXException(ResourceLoader::LoadString(kDuplicatedName));
    }
    parameters.push_back(parameter);
}

void ParameterList::RemoveBack() {
    parameters.pop_back();
}

void ParameterList::Clear() {
    parameters.clear();
}

unsigned int ParameterList::GetParameterCount() const {
    return static_cast<unsigned int>(parameters.size());
}

Parameter& ParameterList::GetParameter(unsigned int index) {
    return *std::next(parameters.begin(), static_cast<std::ptrdiff_t>(index));
}

const Parameter& ParameterList::GetParameter(unsigned int index) const {
    return *std::next(parameters.begin(), static_cast<std::ptrdiff_t>(index));
}

Parameter& ParameterList::operator[](unsigned int index) {
    return GetParameter(index);
}

const Parameter& ParameterList::operator[](unsigned int index) const {
    return GetParameter(index);
}

}  // namespace qxdbsqlengine
