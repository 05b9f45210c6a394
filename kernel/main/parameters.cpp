#include "kernel/main/abstractparameter.h"
#include "kernel/main/parameterset.h"
#include "kernel/main/typesolver.h"

#include <stdexcept>

namespace tov::main {

CastClass::~CastClass() = default;

AbstractParameter::AbstractParameter(const QString& name, const QString& description, const QString& defaultText,
                                     bool mandatory, ParameterPanelFactory* panelFactory)
    : m_Name(name), m_Description(description), m_DefaultText(defaultText), m_Mandatory(mandatory),
      mp_PanelFactory(panelFactory)
{}

AbstractParameter::~AbstractParameter() = default;

bool isSameType(const std::type_info* stored, const std::type_info& given)
{
    // Comparing `type_info` objects implements this rule.
    return stored && *stored == given;
}

ParameterSet::ParameterSet(int id, const QString& title) : m_Id(id), m_Title(title) {}

ParameterSet::~ParameterSet()
{
    for (AbstractParameter*& parameter : m_Parameters) {
        parameter->deleteValue();
        delete parameter;
        parameter = nullptr;
    }
}

void ParameterSet::addParameter(AbstractParameter* parameter)
{
    m_Parameters.push_back(parameter);
}

AbstractParameter* ParameterSet::at(std::size_t index) const
{
    return m_Parameters.at(index);
}

AbstractParameter* ParameterSet::find(const QString& name) const
{
    for (AbstractParameter* parameter : m_Parameters)
        if (parameter->getName().compare(name, Qt::CaseInsensitive) == 0)
            return parameter;
    return nullptr;
}

bool TypeSolver::solve(AbstractParameter* local, AbstractParameter* provided)
{
    if (!local || !provided || !provided->hasValue())
        return false;
    if (local->getType() && provided->getType() && *local->getType() == *provided->getType()) {
        local->deleteValue();
        local->disableDeleteOnSet(true);
        local->takeValueFrom(provided);
        return local->hasValue();
    }
    local->deleteValue();
    local->disableDeleteOnSet(false);
    return local->castString(provided->toString());
}

} // namespace tov::main
