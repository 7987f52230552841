#include "ModalState.h"

ModalState* ModalState::instance()
{
    static ModalState state;
    return &state;
}

bool ModalState::isActive()
{
    return instance()->m_depth > 0;
}

ModalState::Scope::Scope()
{
    ModalState* state = instance();
    if (state->m_depth++ == 0)
        emit state->started();
}

ModalState::Scope::~Scope()
{
    ModalState* state = instance();
    if (--state->m_depth == 0)
        emit state->ended();
}
