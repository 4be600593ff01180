#include "platform/qxsplt/errors.h"

Errors::Errors() = default;

Errors::Errors(const Errors&) = default;

Errors& Errors::operator=(const Errors&) = default;

Errors::~Errors() = default;
