#include "storage/complex_type.h"

#include <fstream>
#include <iterator>

#include "platform/os/file_mapping.h"

namespace qxdbsqlengine {

ComplexType::ComplexType(const std::string& file)
    : fileName(file), isTempFileName(file.empty()), row(0), col(0) {}

ComplexType::~ComplexType() = default;

bool ComplexType::EditAsClob() const {
    return true;
}

bool ComplexType::IsReadOnly() const {
    return true;
}

std::string ComplexType::GetFileName() const {
    return fileName;
}

bool ComplexType::IsTempFileName() const {
    return isTempFileName;
}

bool ComplexType::AsString(std::string& text) {
    std::ifstream file(fileName, std::ios::binary);
    if (!file.is_open())
        return false;
    text.assign(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>());
    return true;
}

LobExtract::LobExtract(const qxdb::LobLocator& locator, const std::list<std::string>& rowTexts,
                       const std::string& file)
    : ComplexType(file), rowValues(rowTexts), lobLocator(locator.Clone()) {}

EnumDataType LobExtract::GetDataType() const {
    return DataTypeLob;
}

bool LobExtract::EditAsClob() const {
    return lobLocator.EditAsClob();
}

bool LobExtract::IsReadOnly() const {
    return lobLocator.IsReadOnly();
}

std::string LobExtract::GetFileName() const {
    return fileName;
}

bool LobExtract::IsValid(bool check) const {
    return lobLocator.IsValid(check);
}

std::string LobExtract::TableName() const {
    return lobLocator.TableName();
}

void LobExtract::SetAsXMLType() {
    lobLocator.SetAsXMLType();
}

void LobExtract::SetFileName(const std::string& file) {
    fileName = file;
    isTempFileName = false;
}

NamedTypeExtract::NamedTypeExtract(std::string& value) : ComplexType(std::string()) {
    text.swap(value);
}

EnumDataType NamedTypeExtract::GetDataType() const {
    return DataTypeNamedType;
}

bool NamedTypeExtract::AsString(std::string& value) {
    value = text;
    return true;
}

bool NamedTypeExtract::WriteToFile(const std::string& name) {
    fileName = name;
    if (name.empty()) {
        qxos::TempFile created;
        if (!created.Create("VAR_"))
            return false;
        fileName = created.Keep();
    }
    std::ofstream file(fileName, std::ios::binary | std::ios::trunc);
    if (!file.is_open())
        return false;
    file.write(text.data(), static_cast<std::streamsize>(text.size()));
    file.flush();
    return file.good();
}

}  // namespace qxdbsqlengine
