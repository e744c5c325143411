// The interface of an undo history that keeps nothing.
#include "rastelo.h"

CImgRevokeOpr::CImgRevokeOpr() = default;
CImgRevokeOpr::CImgRevokeOpr(const CImgRevokeOpr& other) = default;
CImgRevokeOpr& CImgRevokeOpr::operator=(const CImgRevokeOpr& other) = default;
CImgRevokeOpr::~CImgRevokeOpr() = default;

void CImgRevokeOpr::AddProcessImg(CRastelo* /*image*/) {}
void CImgRevokeOpr::DelProcessImg(CRastelo* /*image*/) {}
void CImgRevokeOpr::RevokeImgBackward() {}
void CImgRevokeOpr::RevokeImgForward() {}
