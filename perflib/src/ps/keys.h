// The command-line keys: the key table that the session registers, the echo (info)
// and apply functions of every key, the argument decoders and the help displays.
#ifndef PS_KEYS_H
#define PS_KEYS_H

#include "settings.h"

// Settings written by the keys (besides the session settings).
extern bool s_version;       // -v
extern char s_hintArg;       // 0: no help; 1: short help; else the letter after -h / -?
extern bool s_hintHide;      // -h hides the hidden keys, -? shows them
extern bool is_W_flagUsed;   // -W
extern bool qKeys;           // whether -q and -Q are registered

// Registers the whole key table on the session settings, in help order.
void psRegisterKeys(psSessionSettings* session);
// Resets the key settings above to their initial values.
void psResetKeySettings();

// -A argument: bits T 1, P 2, M 4; 15 when no letter is recognised.
int psAskLevel(const psString& arg);
// Echo words of an ask level: " timing method, common parameters, ...".
psString psAskText(int level);
// Echo words of a console level: "errors,warnings,...".
psString psLevelText(int level);

// Help displays built from a key table.
psString psHintQuick(const psList<psOption*>& options, bool hide);
psString psHintFull(const psList<psOption*>& options, bool hide);
psString psHintDescr(const psList<psOption*>& options, char key);

// Replaces the first tab of a description by the text.
psString psFillPlaceholder(const psString& descr, const psString& text);

// Echo functions, one per key (the apply functions are internal to keys.cpp).
psString B_info(psString arg);
psString A_info(psString arg);
psString d_info(psString arg);
psString i_info(psString arg);
psString I_info(psString arg);
psString P_info(psString arg);
psString o_info(psString arg);
psString O_info(psString arg);
psString L_info(psString arg);
psString r_info(psString arg);
psString R_info(psString arg);
psString q_info(psString arg);
psString Q_info(psString arg);
psString u_info(psString arg);
psString U_info(psString arg);
psString g_info(psString arg);
psString n_info(psString arg);
psString p_info(psString arg);
psString l_info(psString arg);
psString f_info(psString arg);
psString t_info(psString arg);
psString m_info(psString arg);
psString k_info(psString arg);
psString F_info(psString arg);
psString Y_info(psString arg);
psString H_info(psString arg);
psString W_info(psString arg);
psString T_info(psString arg);
psString N_info(psString arg);
psString S_info(psString arg);
psString C_info(psString arg);
psString s_info(psString arg);
psString e_info(psString arg);
psString v_info(psString arg);
psString h_info(psString arg);
psString hq_info(psString arg);

#endif
