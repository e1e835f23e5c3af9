/* What the planner is told of "text @~ trovex_query".
 *
 * An index helps without knowing the operator. A query promises strings of which every text that
 * satisfies it holds at least one of each clause; that is "text ILIKE '%string%'", or for a clause of
 * several strings "text ~* 'one|other'". Where an index on the column knows these operators, as those of
 * pg_trgm do, they are offered to it, and the rows that it brings are checked by the operator itself.
 *
 * ILIKE folds as the locale says, and a query as its own letters do. Where the locale does not fold
 * ASCII as ASCII, as Turkish does not, nothing is offered. */

#include "compiled_query.h"

#include "access/htup_details.h"
#include "catalog/pg_collation.h"
#include "catalog/pg_operator.h"
#include "catalog/pg_type.h"
#include "lib/stringinfo.h"
#include "nodes/makefuncs.h"
#include "nodes/nodeFuncs.h"
#include "nodes/pathnodes.h"
#include "nodes/supportnodes.h"
#include "optimizer/optimizer.h"
#include "parser/parsetree.h"
#include "utils/builtins.h"
#include "utils/formatting.h"
#include "utils/lsyscache.h"

/* Each condition costs the index a walk; more of them leave out few rows more. */
#define MOST_CONDITIONS 4
/* What a trigram index can look for: so many letters and digits side by side. */
#define LEAST_WORD 3
/* Beyond these, an index gives up on a pattern and reads all it has. */
#define MOST_ALTERNATIVES 8
#define MOST_OF_PATTERN 64

/* The parts of a call of the operator or its function that matter here. */
typedef struct Call {
  Node* body;
  CompiledQuery* compiled;
} Call;

/* Reads a call whose query is known when it is planned; false otherwise. */
static bool ReadCall(Node* node, Call* call) {
  List* arguments = NIL;
  if (node == NULL) return false;
  if (IsA(node, OpExpr)) arguments = ((OpExpr*)node)->args;
  if (IsA(node, FuncExpr)) arguments = ((FuncExpr*)node)->args;
  if (list_length(arguments) != 2) return false;
  Node* const query = lsecond(arguments);
  if (!IsA(query, Const) || ((Const*)query)->constisnull) return false;
  call->body = linitial(arguments);
  call->compiled =
      CompileQuery((const QueryValue*)PG_DETOAST_DATUM_PACKED(((Const*)query)->constvalue), NULL);
  return true;
}

/* Whether letters of ASCII, and they alone, are each other's upper and lower case. */
static bool FoldsAsAscii(Oid collation) {
  static const char lower[] = "abcdefghijklmnopqrstuvwxyz";
  static const char upper[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZ";
  if (!OidIsValid(collation)) return false;
  return strcmp(str_tolower(upper, strlen(upper), collation), lower) == 0 &&
         strcmp(str_toupper(lower, strlen(lower), collation), upper) == 0;
}

static bool IsWordCharacter(char c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9');
}

static bool HasWord(const char* string, size_t length) {
  size_t row = 0;
  for (size_t i = 0; i < length && row < LEAST_WORD; ++i)
    row = IsWordCharacter(string[i]) ? row + 1 : 0;
  return row == LEAST_WORD;
}

/* What a clause promises, as a condition. */
typedef struct Condition {
  bool isPattern;
  char* string;
} Condition;

static char* LikeString(const char* string, size_t length) {
  StringInfoData like;
  initStringInfo(&like);
  appendStringInfoChar(&like, '%');
  for (size_t i = 0; i < length; ++i) {
    if (strchr("%_\\", string[i]) != NULL) appendStringInfoChar(&like, '\\');
    appendStringInfoChar(&like, string[i]);
  }
  appendStringInfoChar(&like, '%');
  return like.data;
}

/* A string as a regular expression; what is neither a letter nor a digit is written by its number. */
static void AppendPattern(StringInfo pattern, const char* string, size_t length) {
  for (size_t i = 0; i < length; ++i) {
    if (IsWordCharacter(string[i]))
      appendStringInfoChar(pattern, string[i]);
    else
      appendStringInfo(pattern, "\\x%02x", (unsigned char)string[i]);
  }
}

/* The condition of a clause; false when an index could not do anything with it. */
static bool ConditionOf(const trovex_query* query, size_t clause, Condition* condition) {
  const size_t count = trovex_required_string_count(query, clause);
  size_t total = 0;
  StringInfoData pattern;
  if (count == 0 || count > MOST_ALTERNATIVES) return false;
  initStringInfo(&pattern);
  for (size_t i = 0; i < count; ++i) {
    size_t length = 0;
    const char* const string = trovex_required_string(query, clause, i, &length);
    if (!HasWord(string, length)) return false;
    total += length;
    if (count == 1) {
      condition->isPattern = false;
      condition->string = LikeString(string, length);
      return true;
    }
    if (i > 0) appendStringInfoChar(&pattern, '|');
    AppendPattern(&pattern, string, length);
  }
  if (total > MOST_OF_PATTERN) return false;
  condition->isPattern = true;
  condition->string = pattern.data;
  return true;
}

static Oid OperatorOf(const Condition* condition, bool foldsCase) {
  if (condition->isPattern) return foldsCase ? OID_TEXT_ICREGEXEQ_OP : OID_TEXT_REGEXEQ_OP;
  return foldsCase ? OID_TEXT_ICLIKE_OP : OID_TEXT_LIKE_OP;
}

static Node* IndexConditions(SupportRequestIndexCondition* request) {
  Call call;
  List* conditions = NIL;
  /* The families with these operators are few; most indexes are done with here. */
  if (request->indexarg != 0 || !op_in_opfamily(OID_TEXT_LIKE_OP, request->opfamily)) return NULL;
  if (!OidIsValid(request->indexcollation) ||
      !get_collation_isdeterministic(request->indexcollation) || !ReadCall(request->node, &call))
    return NULL;
  const trovex_query* const query = call.compiled->query;
  const bool foldsCase = trovex_required_folds_case(query);
  /* Trigrams are folded as the database says, conditions as the column does. */
  if (!FoldsAsAscii(DEFAULT_COLLATION_OID) || !FoldsAsAscii(request->indexcollation)) return NULL;
  const size_t clauses = trovex_required_clause_count(query);
  for (size_t i = 0; i < clauses && list_length(conditions) < MOST_CONDITIONS; ++i) {
    Condition condition;
    if (!ConditionOf(query, i, &condition)) continue;
    const Oid operatorOid = OperatorOf(&condition, foldsCase);
    if (!op_in_opfamily(operatorOid, request->opfamily)) continue;
    Const* const string = makeConst(TEXTOID, -1, request->indexcollation, -1,
                                    CStringGetTextDatum(condition.string), false, false);
    conditions =
        lappend(conditions, make_opclause(operatorOid, BOOLOID, false, (Expr*)copyObject(call.body),
                                          (Expr*)string, InvalidOid, request->indexcollation));
  }
  request->lossy = true;
  return (Node*)conditions;
}

/* The bytes that the planner expects of a text. */
static int32 ExpectedWidth(PlannerInfo* root, Node* body) {
  int32 width = 0;
  while (body != NULL && IsA(body, RelabelType))
    body = (Node*)((RelabelType*)body)->arg;
  if (root != NULL && body != NULL && IsA(body, Var)) {
    const Var* const column = (const Var*)body;
    if (column->varlevelsup == 0 && !IS_SPECIAL_VARNO(column->varno)) {
      const RangeTblEntry* const table = planner_rt_fetch(column->varno, root);
      if (table->rtekind == RTE_RELATION) width = get_attavgwidth(table->relid, column->varattno);
    }
  }
  return width > 0 ? width : get_typavgwidth(TEXTOID, -1);
}

/* In units of an ordinary operator: a call, and what reading the text takes. */
#define COST_OF_CALL 4.0
#define BYTES_PER_UNIT 100.0

static Node* ExpectedCost(SupportRequestCost* request) {
  List* arguments = NIL;
  if (request->node == NULL) return NULL;
  if (IsA(request->node, OpExpr)) arguments = ((OpExpr*)request->node)->args;
  if (IsA(request->node, FuncExpr)) arguments = ((FuncExpr*)request->node)->args;
  if (arguments == NIL) return NULL;
  const int32 width = ExpectedWidth(request->root, linitial(arguments));
  request->startup = 0;
  request->per_tuple = cpu_operator_cost * (COST_OF_CALL + width / BYTES_PER_UNIT);
  return (Node*)request;
}

PG_FUNCTION_INFO_V1(pg_trovex_support);
Datum pg_trovex_support(PG_FUNCTION_ARGS) {
  Node* const request = (Node*)PG_GETARG_POINTER(0);
  Node* answer = NULL;
  if (IsA(request, SupportRequestIndexCondition))
    answer = IndexConditions((SupportRequestIndexCondition*)request);
  else if (IsA(request, SupportRequestCost))
    answer = ExpectedCost((SupportRequestCost*)request);
  PG_RETURN_POINTER(answer);
}
