#include "storage/store_exceptions.h"

#include "platform/resource_loader.h"

namespace qxdbsqlengine {

BadTypeException::BadTypeException() : QXException(ResourceLoader::LoadString(116)) {}

BadTypeException::~BadTypeException() = default;

void ThrowDataEditException() {
    throw qxutils::QXException(ResourceLoader::LoadString(117));
}

void ThrowResultSetTypeException() {
    throw qxutils::QXException(ResourceLoader::LoadString(118));
}

void ThrowResultSetIndexException() {
    throw qxutils::QXException(ResourceLoader::LoadString(119));
}

void ThrowResultSetIDException() {
    throw qxutils::QXException(ResourceLoader::LoadString(120));
}

}  // namespace qxdbsqlengine
