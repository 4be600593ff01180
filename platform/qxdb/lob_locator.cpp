#include "platform/qxdb/lob_locator.h"

#include "platform/qxdb/null_handle.h"

namespace qxdb {

LobLocatorImp::~LobLocatorImp() = default;

LobLocator::LobLocator() = default;

LobLocator::LobLocator(LobLocatorImp* owned) : implementation(owned) {}

LobLocator::LobLocator(const LobLocator& other)
    : implementation(other.implementation ? other.implementation->Clone() : nullptr) {}

LobLocator& LobLocator::operator=(const LobLocator& other) {
    if (this != &other) {
        implementation = other.implementation ? other.implementation->Clone() : nullptr;
    }
    return *this;
}

LobLocator::~LobLocator() = default;

LobLocator LobLocator::Clone() const {
    return *this;
}

DynBuffer LobLocator::GetLocatorData() const {
    return implementation ? implementation->GetLocatorData() : DynBuffer();
}

void LobLocator::SetLocatorData(DynBuffer& data) {
    if (implementation) {
        implementation->SetLocatorData(data);
    }
}

bool LobLocator::IsValid(bool check) const {
    return implementation && implementation->IsValid(check);
}

bool LobLocator::IsReadOnly() const {
    return !implementation || implementation->IsReadOnly();
}

bool LobLocator::EditAsClob() const {
    return implementation && implementation->EditAsClob();
}

std::string LobLocator::TableName() const {
    return implementation ? implementation->TableName() : std::string();
}

void LobLocator::SetAsXMLType() {
    if (implementation) {
        implementation->SetAsXMLType();
    }
}

void LobLocator::Import(const std::string& fileName, Connection& connection,
                        std::list<std::string>* rowValues) {
    if (!implementation) {
        ThrowText("\"" + fileName + "\" can't be imported: the locator refers to no large object");
    }
    implementation->Import(fileName, connection, rowValues);
}

void LobLocator::Export(const std::string& fileName, Connection& connection,
                        std::list<std::string>* rowValues) {
    if (!implementation) {
        ThrowText("\"" + fileName + "\" can't be exported: the locator refers to no large object");
    }
    implementation->Export(fileName, connection, rowValues);
}

}  // namespace qxdb
