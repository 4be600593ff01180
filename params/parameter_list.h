// The ordered collection of parameters of one request.
#pragma once

#include <list>

#include "params/parameter.h"
#include "platform/export.h"

namespace qxdbsqlengine {

// Holds copies of the parameters that a caller hands to a request, and those in which output values come
// back. No locking: the caller fills it before a run and reads it after.
class QXSENG2_API ParameterList {
  public:
    enum BindMethod : int { BindByOrdinal = 0, BindByName = 1 };

    ParameterList();
    ParameterList(const ParameterList& other);
    // Copies the parameters and the bind method. The forced binding by ordinal is this list's own and stays.
    ParameterList& operator=(const ParameterList& other);
    ~ParameterList();

    // Binding by name also ends a forced binding by ordinal. Parameters that are there already are not
    // checked.
    void SetBindMethod(BindMethod method);
    BindMethod GetBindMethod() const;
    // Binds a procedure call by position whatever its parameters are called.
    void SetForceBindByOrdinal(bool force);
    bool GetForceBindByOrdinal() const;

    // Appends a copy. While binding goes by name, throws QXException for an empty name and for one that the
    // list has already (compared exactly, letter case included); the list is then unchanged.
    void PushBack(const Parameter& parameter);
    // The list must not be empty.
    void RemoveBack();
    // Keeps the bind method and the forced binding by ordinal.
    void Clear();
    unsigned int GetParameterCount() const;
    // 0-based and not checked; walks the list. The reference lives until the parameter is removed.
    Parameter& GetParameter(unsigned int index);
    const Parameter& GetParameter(unsigned int index) const;
    Parameter& operator[](unsigned int index);
    const Parameter& operator[](unsigned int index) const;
    // In order.
    std::list<Parameter>::iterator begin() { return parameters.begin(); }
    std::list<Parameter>::iterator end() { return parameters.end(); }
    std::list<Parameter>::const_iterator begin() const { return parameters.begin(); }
    std::list<Parameter>::const_iterator end() const { return parameters.end(); }

  private:
    std::list<Parameter> parameters;
    BindMethod bindMethod = BindByOrdinal;
    bool forceBindByOrdinal = false;
};

}  // namespace qxdbsqlengine
