#include "quelcore/operations/OperationBase.h"

OperationBase::OperationBase() noexcept = default;

bool OperationBase::execute() { return false; }

bool OperationBase::cancel() { return false; }

void OperationBase::readData() {}

void OperationBase::writeData() {}
